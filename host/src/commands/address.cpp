// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <memory>

#include "camera/gige_cameras.h"
#include "camera/neighbours.h"
#include "commands/commands.h"
#include "parameters/names.h"
#include "parameters/writer.h"
#include "terminal/console.h"
#include "terminal/ipv4.h"
#include "terminal/numbers.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

struct AddressOptions {
  std::string camera;
  std::string network;
  std::string gateway;
  bool persistent = false;
};

using Clock = std::chrono::steady_clock;

constexpr int tries = 3;
constexpr std::chrono::seconds tryTime(5);  // a camera may need some to begin anew
constexpr std::chrono::milliseconds answerTime(1000);
constexpr std::chrono::milliseconds confirmationAccuracy(20);
constexpr std::chrono::seconds forgettingTime(60);

Failure failed(const std::string& text) {
  return Failure(ExitStatus::Failed, text);
}

std::optional<Ipv4Network> networkFrom(const std::string& text) {
  const std::size_t slash = text.find('/');
  const auto address = Ipv4From(text.substr(0, slash));
  const auto prefix = slash == std::string::npos ? std::nullopt : NumberFrom<int>(text.substr(slash + 1));
  if (!address || !prefix || *prefix < 1 || *prefix > 30) return std::nullopt;
  return Ipv4Network{*address, ~std::uint32_t{0} << (32 - *prefix)};
}

std::string titleOf(const GigeCamera& camera) {
  return WithoutControls(
      fmt::format("{} {} {} ({})", camera.vendor, camera.model, camera.serial, MacText(camera.mac)));
}

GigeCamera cameraNamed(const std::vector<GigeCamera>& found, const std::string& name) {
  std::vector<GigeCamera> named;
  std::copy_if(found.begin(), found.end(), std::back_inserter(named),
               [&](const GigeCamera& camera) { return IsNamed(camera, name); });
  if (named.size() == 1) return named.front();
  std::vector<std::string> titles;
  for (const GigeCamera& camera : named.empty() ? found : named) titles.push_back(titleOf(camera));
  if (!named.empty())
    throw failed(fmt::format("'{}' is more than one camera: say which by the MAC address: {}", name,
                             fmt::join(titles, ", ")));
  throw Failure(ExitStatus::NoCamera,
                fmt::format("no GigE Vision camera '{}' answers; {}", name,
                            titles.empty() ? "none does: check power, cable and interface"
                                           : fmt::format("there are: {}", fmt::join(titles, ", "))));
}

// The interface that the camera hears, with its address in the subnet that the camera is to be in.
NetworkPort portFor(const GigeCamera& camera, const Ipv4Network& wanted) {
  for (const NetworkPort& port : NetworkPorts()) {
    if (port.network.address == wanted.address)
      throw failed(fmt::format("{} is the address of this computer's {}: choose another",
                               Ipv4Text(wanted.address), port.interface));
    if (port.index != camera.port.index || !port.network.Contains(wanted.address)) continue;
    if (wanted.Contains(port.network.address)) return port;
    throw failed(fmt::format("with /{} the camera could not answer {}: use /{}", std::popcount(wanted.mask),
                             Ipv4Text(port.network.address), std::popcount(port.network.mask)));
  }
  throw failed(
      fmt::format("at {0} the camera could not be reached over {1} ({2}): choose an address in {3}, or give "
                  "{1} one in {4} first",
                  Ipv4Text(wanted.address), camera.port.interface, camera.port.network.Text(),
                  camera.port.network.SubnetText(), wanted.SubnetText()));
}

bool isHostOf(const Ipv4Network& network, std::uint32_t address) {
  const std::uint32_t host = address & ~network.mask;
  return host != 0 && host != ~network.mask;
}

void requireHostAddress(const Ipv4Network& wanted, const NetworkPort& port) {
  const std::uint32_t first = wanted.address >> 24;
  const bool isLoopback = first == 127 && port.network.address >> 24 != 127;
  const bool isUsable = first != 0 && first < 224 && !isLoopback && isHostOf(wanted, wanted.address);
  if (isUsable && isHostOf(port.network, wanted.address)) return;
  throw failed(fmt::format("{} is not an address that a host of {} can have", Ipv4Text(wanted.address),
                           (isUsable ? port.network : wanted).SubnetText()));
}

std::uint32_t gatewayFor(const GigeCamera& camera, const Ipv4Network& wanted, const std::string& given) {
  if (given.empty()) return wanted.Contains(camera.gateway) ? camera.gateway : 0;
  const std::uint32_t gateway = Ipv4From(given).value();
  if (gateway == wanted.address)
    throw failed(fmt::format("the gateway {} is the address that the camera is to have", given));
  if (wanted.Contains(gateway) && isHostOf(wanted, gateway)) return gateway;
  throw failed(fmt::format("the gateway {} is not {} {}", given,
                           wanted.Contains(gateway) ? "an address that a host can have in" : "in",
                           wanted.SubnetText()));
}

// Asking a camera that may be there also makes the system ask whose address it is. What it has learned before
// it believes for up to 45 s, and needs 8 s more to find out that nobody answers: that is waited for, and
// then asked anew, since it looks for the old device alone.
void requireUnused(const GigeCamera& camera, const NetworkPort& port, const Ipv4Network& wanted) {
  const auto begun = Clock::now();
  for (bool waited = false;;) {
    const auto there = GigeCameraAt(port, wanted.address, answerTime);
    const auto neighbour = NeighbourAt(port, wanted.address);
    const std::string mac = there ? MacText(there->mac) : neighbour ? neighbour->mac : "";
    if (mac == MacText(camera.mac) || (mac.empty() && !waited)) return;
    const bool answers = there || (neighbour && neighbour->confirmed >= begun - confirmationAccuracy);
    if (answers || Clock::now() - begun > forgettingTime)
      throw failed(fmt::format("{} is in use by {}: choose another", Ipv4Text(wanted.address),
                               there ? titleOf(*there) : "the device " + mac));
    if (!waited)
      PrintError(
          fmt::format("note: {} was in use by the device {}: waiting a minute at most, whether it still is",
                      Ipv4Text(wanted.address), mac));
    waited = !mac.empty();
  }
}

void requireFree(const GigeCamera& camera) {
  const std::string control = camera.IsNear() ? ControlText(camera.network.address) : "";
  if (control.empty() || control == "free") return;
  throw failed(fmt::format("another program{} controls the camera: end it first",
                           control == "busy" ? "" : " on " + control));
}

void moveTo(const GigeCamera& camera, const NetworkPort& port, const Ipv4Network& wanted,
            std::uint32_t gateway) {
  for (int i = 0; i < tries; ++i) {
    ForceAddress(camera, wanted, gateway);
    for (const auto end = Clock::now() + tryTime; Clock::now() < end;) {
      const auto there = GigeCameraAt(port, wanted.address, answerTime);
      if (there && there->mac == camera.mac) return;
    }
  }
  throw Failure(
      ExitStatus::NoCamera,
      fmt::format("{} was told to take {} and does not answer there: switch it off and on, then look "
                  "with 'vireo-cam cameras'",
                  titleOf(camera), wanted.Text()));
}

// Addresses as numbers: not every camera says that they are addresses.
void write(Camera& camera, const Ipv4Network& wanted, std::uint32_t gateway) {
  const std::pair<const char*, std::uint32_t> settings[] = {{"GevPersistentIPAddress", wanted.address},
                                                            {"GevPersistentSubnetMask", wanted.mask},
                                                            {"GevPersistentDefaultGateway", gateway},
                                                            {"GevCurrentIPConfigurationPersistentIP", 1}};
  std::vector<common::Parameter> parameters;
  for (const auto& [name, value] : settings) {
    RequireParameter(camera, name);
    const common::Parameter& like = camera.Catalogue().at(name);
    parameters.push_back(ParseValue(like, fmt::format("{}", value), FormOf(camera.Features(), like)));
  }
  ParameterWriter writer(camera);
  writer.WriteInOrder(parameters).Require();
  for (const common::Parameter& parameter : parameters) {
    if (!writer.ReadBackOf(parameter).asWritten)
      throw failed(fmt::format("it does not take {}", parameter.name));
  }
}

void keep(CameraOptions options, const Ipv4Network& wanted, std::uint32_t gateway) {
  options.address = Ipv4Text(wanted.address);
  try {
    WithCamera(options, Use::Control, [&](Camera& camera) {
      write(camera, wanted, gateway);
      return ExitStatus::Done;
    });
  } catch (const Failure& failure) {
    throw Failure(failure.status,
                  fmt::format("{}; the camera answers at {}, but only until it is switched off",
                              failure.what(), wanted.Text()));
  }
}

ExitStatus address(const CommandLine& line, const AddressOptions& options) {
  if (line.camera.simulate || !line.camera.address.empty())
    throw Failure(ExitStatus::WrongUsage, "CAMERA says which one: leave --address and --simulate out");
  const Ipv4Network wanted = networkFrom(options.network).value();
  const GigeCamera camera = cameraNamed(FindGigeCameras(), options.camera);
  const std::uint32_t gateway = gatewayFor(camera, wanted, options.gateway);
  const NetworkPort port = portFor(camera, wanted);
  requireHostAddress(wanted, port);
  requireUnused(camera, port, wanted);
  requireFree(camera);
  moveTo(camera, port, wanted, gateway);
  if (options.persistent) keep(line.camera, wanted, gateway);
  Print(fmt::format("{} answers at {}{}\n", titleOf(camera), wanted.Text(),
                    options.persistent ? ", now and when it is switched on" : " until it is switched off"));
  return ExitStatus::Done;
}

std::string checkNetwork(const std::string& text) {
  return networkFrom(text) ? "" : fmt::format("'{}' is not such as 192.168.0.7/24", text);
}

std::string checkAddress(const std::string& text) {
  return Ipv4From(text) ? "" : fmt::format("'{}' is not such as 192.168.0.1", text);
}

}  // namespace

void AddAddressCommand(CommandLine& line) {
  const auto options = std::make_shared<AddressOptions>();
  CLI::App* const command =
      line.AddCommand("address", "Give a GigE Vision camera an IP address that it can be reached at",
                      [&line, options] { return address(line, *options); });
  command
      ->add_option("CAMERA", options->camera,
                   "MAC address, IP address, serial number, user name or device id, as 'cameras' shows them")
      ->required()
      ->check(CameraName());
  command
      ->add_option("IP/PREFIX", options->network, "Address and length of its subnet, such as 192.168.0.7/24")
      ->required()
      ->check(checkNetwork);
  command->add_option("--gateway", options->gateway, "Gateway of that subnet, where there is one")
      ->type_name("IP")
      ->check(checkAddress);
  command->add_flag("--persistent", options->persistent, "Let it keep the address when it is switched off");
}

}  // namespace vireo::host

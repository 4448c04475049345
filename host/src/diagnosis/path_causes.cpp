// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <system_error>

#include "diagnosis/causes.h"
#include "terminal/ipv4.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

bool isSilent(const Facts& facts) {
  return facts.link == LinkKind::Gige && !facts.path.answers;
}

std::string netText(const NetworkPort& port) {
  return port.interface + " " + port.network.Text();
}

// The nets of this computer that an address lies in.
std::vector<std::string> netsWith(const PathFacts& path, std::uint32_t address) {
  std::vector<std::string> nets;
  for (const NetworkPort& here : path.here)
    if (here.network.Contains(address)) nets.push_back(netText(here));
  return nets;
}

std::string cameraText(const GigeCamera& camera) {
  return fmt::format("{} {} {} ({}) answers on {} from {}", camera.vendor, camera.model, camera.serial,
                     MacText(camera.mac), camera.port.interface, Ipv4Text(camera.network.address));
}

std::string routeText(const PathFacts& path) {
  if (path.interface.name.empty()) return "this computer has no route there";
  return fmt::format("the route there takes {}{}{}", path.interface.name,
                     path.interface.hasLink ? "" : ", which has no link",
                     path.hasGateway ? ", through a gateway: cameras are seldom behind one" : "");
}

std::string silenceText(const PathFacts& path) {
  if (path.portClosed)
    return fmt::format("{} answers that nobody listens on the port of cameras, 3956", Ipv4Text(path.address));
  if (path.sendError != 0)
    return fmt::format("nothing can be sent to {}: {}", Ipv4Text(path.address),
                       std::generic_category().message(path.sendError));
  return fmt::format("{} did not answer 2 reads of a register, 1.5 s each", Ipv4Text(path.address));
}

Verdict unreachable(const char* cause, std::string what, std::vector<std::string> evidence,
                    std::vector<std::string> todo) {
  return {cause, std::move(what), std::move(evidence), std::move(todo), ExitStatus::NoCamera};
}

std::optional<Verdict> linkDown(const Facts& facts) {
  const InterfaceState& interface = facts.path.interface;
  if (!isSilent(facts)) return {};
  for (const NetworkPort& port : facts.path.down)
    if (port.network.Contains(facts.path.address))
      return unreachable("link-down", fmt::format("The interface {} is switched off", port.interface),
                         {netText(port) + " is the camera's subnet", silenceText(facts.path)},
                         {fmt::format("ip link set {} up", port.interface)});
  if (interface.name.empty() || interface.hasLink) return {};
  return unreachable("link-down", fmt::format("The interface {} has no link", interface.name),
                     {routeText(facts.path), silenceText(facts.path)},
                     {"check the cable and the power of the camera and of the switch"});
}

std::optional<Verdict> reversePath(const Facts& facts) {
  const PathFacts& path = facts.path;
  if (path.answers || path.reversePathDrops == 0) return {};
  std::vector<std::string> evidence = {
      fmt::format("TcpExt IPReversePathFilter counted {} while cameras were asked",
                  Counted(path.reversePathDrops, "packet"))};
  if (path.address != 0) evidence.push_back(silenceText(path));
  if (!path.interface.name.empty())
    evidence.push_back(
        fmt::format("{}; rp_filter there is {}", routeText(path), path.interface.reversePathFilter));
  return unreachable(
      "reverse-path",
      "Answers come, and the kernel's reverse-path filter drops them: their sender is not in a net "
      "of the interface that they come in on",
      std::move(evidence),
      {"give that interface an address in the camera's net, or the camera one in the interface's",
       "or turn the filter off: sysctl net.ipv4.conf.all.rp_filter=0 and that of the interface"});
}

std::optional<Verdict> otherSubnet(const Facts& facts) {
  const PathFacts& path = facts.path;
  if (path.answers) return {};
  for (const GigeCamera& camera : path.discovered) {
    const bool isMeant =
        path.address == 0 || camera.network.address == path.address || !netsWith(path, path.address).empty();
    if (!isMeant || !netsWith(path, camera.network.address).empty()) continue;
    std::vector<std::string> evidence = {cameraText(camera), "no net of this computer has that address:"};
    for (const NetworkPort& here : path.here)
      if (here.index == camera.port.index) evidence.push_back("  " + netText(here));
    if (path.address != 0) evidence.push_back(silenceText(path));
    const Ipv4Network& there = camera.network;
    const std::uint32_t neighbour =
        there.address ^ (there.address & 0xff) ^ ((there.address & 0xff) == 1 ? 2 : 1);
    return unreachable("other-subnet", "The camera's address is in another subnet than this computer's",
                       std::move(evidence),
                       {AddressAdvice(camera),
                        fmt::format("or add an address of the camera's subnet: ip address add {} dev {}",
                                    Ipv4Network{neighbour, there.mask}.Text(), camera.port.interface)});
  }
  return {};
}

std::optional<Verdict> twoInterfaces(const Facts& facts) {
  const PathFacts& path = facts.path;
  if (!isSilent(facts)) return {};
  const std::vector<std::string> nets = netsWith(path, path.address);
  if (nets.size() < 2) return {};
  std::vector<std::string> evidence = {fmt::format("in its net: {}", fmt::join(nets, ", ")), routeText(path),
                                       silenceText(path)};
  for (const GigeCamera& camera : path.discovered) evidence.push_back(cameraText(camera));
  return unreachable(
      "two-interfaces",
      fmt::format("More than one interface leads to {}, and packets take one where it is not",
                  Ipv4Text(path.address)),
      std::move(evidence),
      {"give each interface a net of its own, or take the address off the one that is not meant: "
       "ip address del ADDRESS/PREFIX dev INTERFACE"});
}

std::optional<Verdict> noCamera(const Facts& facts) {
  const PathFacts& path = facts.path;
  const bool nobody = facts.link == LinkKind::Unknown && facts.usbCameras.empty();
  if (!nobody && !isSilent(facts)) return {};
  std::vector<std::string> evidence;
  if (path.address != 0) evidence = {silenceText(path), routeText(path)};
  if (path.filtered > 0)
    evidence.push_back(fmt::format("a filter of this computer dropped {} meanwhile: nft list ruleset",
                                   Counted(path.filtered, "packet")));
  if (path.asked && path.discovered.empty())
    evidence.emplace_back("no camera answers a broadcast on any interface");
  for (const GigeCamera& camera : path.discovered) evidence.push_back(cameraText(camera));
  if (nobody) evidence.emplace_back("no USB3 Vision camera is plugged in");
  const std::string where = path.address != 0    ? " at " + Ipv4Text(path.address)
                            : facts.name.empty() ? ""
                                                 : fmt::format(" to '{}'", facts.name);
  return unreachable("no-camera", fmt::format("No camera answers{}", where), std::move(evidence),
                     {"check power and cable, and that no firewall drops UDP from port 3956",
                      "vireo-cam cameras shows what answers"});
}

std::optional<Verdict> notOpened(const Facts& facts) {
  if (!facts.notOpened || facts.isBusy) return {};
  Verdict verdict{"not-opened",
                  "The camera answers, and cannot be opened",
                  {facts.notOpened->what()},
                  {CommandText(facts, "--log debug info") + " shows how far it comes"},
                  facts.notOpened->status};
  if (!facts.answers.milliseconds.empty())
    verdict.evidence.push_back(fmt::format("{} answered after {:.1f} ms, {} not",
                                           Counted(facts.answers.milliseconds.size(), "read"),
                                           facts.answers.Median(), facts.answers.unanswered));
  if (facts.path.address != 0 && facts.name != Ipv4Text(facts.path.address))
    verdict.todo.insert(verdict.todo.begin(),
                        fmt::format("name it by its address: -a {}", Ipv4Text(facts.path.address)));
  return verdict;
}

std::optional<Verdict> busy(const Facts& facts) {
  if (!facts.isBusy) return {};
  const std::uint32_t holder = facts.registers.primaryApplication.value_or(0);
  const std::string where = holder != 0 ? " on " + Ipv4Text(holder) : "";
  return Verdict{
      "busy",
      fmt::format("Another program{} controls the camera", where),
      {fmt::format("control privilege register: {:#x}, longer than its heartbeat time-out of {} ms",
                   facts.registers.controlPrivilege.value_or(0),
                   facts.registers.heartbeatTimeout.value_or(0))},
      {fmt::format("end that program{}; what only reads works beside it: {}", where,
                   CommandText(facts, "info"))}};
}

}  // namespace

std::vector<Cause> PathCauses() {
  return {linkDown, reversePath, otherSubnet, twoInterfaces, busy};
}

std::vector<Cause> SilenceCauses() {
  return {noCamera, notOpened};
}

}  // namespace vireo::host

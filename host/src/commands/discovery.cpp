// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <chrono>
#include <memory>

#include "../camera.h"
#include "../console.h"
#include "../local_cameras.h"
#include "../parameter_rows.h"
#include "commands.h"

namespace vireo::host {
namespace {

ExitStatus cameras(const CommandLine& line, bool json) {
  if (line.camera.simulate) EnableSimulatedCamera();
  const std::vector<FoundCamera> found = FindCameras();
  TextTable table({"ID", "VENDOR", "MODEL", "SERIAL", "ADDRESS", "PROTOCOL"});
  Json list = Json::array();
  for (const FoundCamera& camera : found) {
    table.AddRow({camera.id, camera.vendor, camera.model, camera.serial, camera.address, camera.protocol});
    list.push_back({{"id", camera.id},
                    {"vendor", camera.vendor},
                    {"model", camera.model},
                    {"serial", camera.serial},
                    {"address", camera.address},
                    {"protocol", camera.protocol}});
  }
  if (json) {
    Print(JsonText(list));
  } else if (!found.empty()) {
    Print(table.Text(OutputWidth()));
  }
  if (!found.empty()) return ExitStatus::Done;
  throw Failure(
      ExitStatus::NoCamera,
      "no camera answers: check power and cable, that its interface is up and in the camera's subnet ('ip "
      "address'), that the firewall lets UDP through, and for USB the permissions (udev rules); "
      "'--simulate' adds a simulated camera");
}

std::string identity(Camera& camera) {
  std::string text;
  for (const char* const name : {"DeviceVendorName", "DeviceModelName", "DeviceVersion", "DeviceSerialNumber",
                                 "DeviceUserID", "DeviceFirmwareVersion"}) {
    const std::string value = camera.ValueOr(name, "");
    if (!value.empty()) text += fmt::format("{:<22}{}\n", name, value);
  }
  return text;
}

std::string row(const char* title, const std::string& value, const std::string& parameter) {
  return parameter.empty() ? "" : fmt::format("{:<22}{}\n", title, value);
}

template <typename Number>
std::string bytesText(Number count) {
  return fmt::format("{} byte{}", count, count == 1 ? "" : "s");
}

std::string imaging(const common::BasicParams& basic, const std::string& pixelFormat) {
  std::string text;
  text += row("Exposure", fmt::format("{} ms", static_cast<float>(basic.exposureTime * 1e3)),
              basic.exposureTimeParam);
  text += row("Frame rate", fmt::format("{} frames/s", static_cast<float>(basic.frameRate)),
              basic.frameRateParam);
  text += row("Image",
              fmt::format("{} x {} pixels of at most {} x {}", basic.width, basic.height, basic.maxWidth,
                          basic.maxHeight),
              basic.widthParam);
  text += row("Offset", fmt::format("{}, {}", basic.offsetX, basic.offsetY), basic.offsetXParam);
  text += row("Binning", fmt::format("{} x {}", basic.binningHorizontal, basic.binningVertical),
              basic.binningHorizontalParam);
  text += row("Pixels", fmt::format("{}, {} each", pixelFormat, bytesText(basic.pixelBytes)), pixelFormat);
  text += fmt::format("{:<22}{:.2f} MB\n", "Full frame", static_cast<double>(basic.frameSize) / 1e6);
  return text;
}

/// Asks the camera for one value, so that a dead link shows.
std::string link(Camera& camera) {
  const auto start = std::chrono::steady_clock::now();
  camera.CheckLink();
  if (!camera.Catalogue().empty()) {
    const bool width = camera.Catalogue().contains("Width");
    camera.Adapter().Read(width ? "Width" : camera.Catalogue().begin()->first);
  }
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  const std::string time = taken.count() < 1.0 ? fmt::format("{:.0f} us", taken.count() * 1e3)
                                               : fmt::format("{:.1f} ms", taken.count());
  return fmt::format("{:<22}good, one read takes {}\n", "Link", time);
}

ExitStatus info(Camera& camera) {
  Print(identity(camera));
  Print(imaging(camera.Adapter().GetBasicParams(), camera.ValueOr("PixelFormat", "")));
  Print(fmt::format("{:<22}{}, {} parameters\n", "Protocol", camera.Adapter().GetProtocol(),
                    camera.Catalogue().size()));
  Print(link(camera));
  return ExitStatus::Done;
}

}  // namespace

void AddDiscoveryCommands(CommandLine& line) {
  const auto json = std::make_shared<bool>(false);
  CLI::App* const command =
      line.AddCommand("cameras", "Cameras that can be found", [&line, json] { return cameras(line, *json); });
  command->add_flag("--json", *json, "Print JSON");
  line.AddCommand("info", "Identity, imaging parameters and link of a camera",
                  [&line] { return WithCamera(line.camera, Use::Control, info); });
}

}  // namespace vireo::host

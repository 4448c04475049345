// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <chrono>
#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "parameters/basic_parameters.h"
#include "parameters/values.h"
#include "terminal/console.h"
#include "terminal/json.h"

namespace vireo::host {
namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

// Asks the camera for one value, so that a dead link shows.
std::string linkText(Camera& camera) {
  const auto start = std::chrono::steady_clock::now();
  camera.CheckLink();
  if (!camera.Catalogue().empty()) {
    const auto width = camera.Catalogue().find("Width");
    common::Parameter asked =
        (width == camera.Catalogue().end() ? camera.Catalogue().begin() : width)->second;
    ReadInto(camera, asked);  // a refusal is an answer as well
  }
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  const std::string time = taken.count() < 1.0 ? fmt::format("{:.0f} us", taken.count() * 1e3)
                                               : fmt::format("{:.1f} ms", taken.count());
  return fmt::format("good, one read takes {}", time);
}

std::string controlText(const Controller& controller) {
  if (controller.address.empty()) return "busy: another program has it";
  return fmt::format("busy: a program on {} has it", controller.address);
}

// The link comes last: it is good when all before it was read.
Rows rowsOf(Camera& camera) {
  Rows rows = camera.Values({"DeviceVendorName", "DeviceModelName", "DeviceVersion", "DeviceSerialNumber",
                             "DeviceUserID", "DeviceFirmwareVersion"});
  for (const auto& row : ShownBasics(camera, camera.ValueOr("PixelFormat", ""))) rows.push_back(row);
  rows.emplace_back("Protocol", fmt::format("{}, {} parameters", camera.Adapter().GetProtocol(),
                                            camera.Catalogue().size()));
  if (camera.IsBusy()) rows.emplace_back("Control", controlText(camera.ControlledBy()));
  rows.emplace_back("Link", linkText(camera));
  return rows;
}

ExitStatus info(Camera& camera, bool json) {
  Json object = Json::object();
  std::string text;
  for (const auto& [title, value] : rowsOf(camera)) {
    object[title] = value;
    text += fmt::format("{:<22}{}\n", title, value);
  }
  const common::BasicParams basic = camera.Adapter().GetBasicParams();
  if (!basic.widthParam.empty() && !KnowsLargestImage(basic))
    PrintError("note: the camera did not tell the largest size of its pictures");
  Print(json ? JsonText(object) : text);
  return ExitStatus::Done;
}

}  // namespace

void AddInfoCommand(CommandLine& line) {
  const auto json = std::make_shared<bool>(false);
  CLI::App* const command =
      line.AddCameraCommand("info", "Identity, imaging parameters and link of a camera", Use::ControlIfFree,
                            [json](Camera& camera) { return info(camera, *json); });
  command->add_flag("--json", *json, "Print JSON");
}

}  // namespace vireo::host

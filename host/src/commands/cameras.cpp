// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>

#include "camera/camera_list.h"
#include "camera/logger.h"
#include "commands/commands.h"
#include "terminal/console.h"
#include "terminal/json.h"
#include "terminal/table.h"

namespace vireo::host {
namespace {

// What only GigE Vision cameras have is left out where there is none.
std::string tableOf(const std::vector<ListedCamera>& cameras) {
  const bool gige = std::any_of(cameras.begin(), cameras.end(),
                                [](const ListedCamera& camera) { return !camera.mac.empty(); });
  std::vector<std::string> titles = {"ID", "VENDOR", "MODEL", "SERIAL", "ADDRESS", "PROTOCOL"};
  if (gige) titles.insert(titles.end(), {"INTERFACE", "MAC", "FIRMWARE", "CONTROL"});
  TextTable table(titles, {"PROTOCOL", "FIRMWARE", "VENDOR", "MODEL", "MAC"});
  for (const ListedCamera& camera : cameras) {
    std::vector<std::string> cells = {camera.found.id,     camera.found.vendor,  camera.found.model,
                                      camera.found.serial, camera.found.address, camera.found.protocol};
    if (gige) cells.insert(cells.end(), {camera.interface, camera.mac, camera.firmware, camera.control});
    table.AddRow(cells);
  }
  return table.Text(OutputWidth());
}

Json jsonOf(const std::vector<ListedCamera>& cameras) {
  Json list = Json::array();
  for (const ListedCamera& camera : cameras) {
    list.push_back({{"id", camera.found.id},
                    {"vendor", camera.found.vendor},
                    {"model", camera.found.model},
                    {"serial", camera.found.serial},
                    {"address", camera.found.address},
                    {"protocol", camera.found.protocol},
                    {"interface", camera.interface},
                    {"mac", camera.mac},
                    {"firmware", camera.firmware},
                    {"control", camera.control},
                    {"advice", camera.advice}});
  }
  return list;
}

ExitStatus cameras(const CommandLine& line, bool json) {
  const HostLogger logger(line.camera.logLevel);
  if (line.camera.simulate) EnableSimulatedCamera();
  const std::vector<ListedCamera> found = ListCameras();
  if (json) {
    Print(JsonText(jsonOf(found)));
  } else if (!found.empty()) {
    Print(tableOf(found));
  }
  for (const ListedCamera& camera : found)
    if (!camera.advice.empty()) PrintError("note: " + camera.advice);
  if (!found.empty()) return ExitStatus::Done;
  throw Failure(
      ExitStatus::NoCamera,
      "no camera answers: check power and cable, that its interface is up and in the camera's subnet ('ip "
      "address'), that the firewall lets UDP through, and for USB the permissions (udev rules); "
      "'--simulate' adds a simulated camera");
}

}  // namespace

void AddCamerasCommand(CommandLine& line) {
  const auto json = std::make_shared<bool>(false);
  CLI::App* const command =
      line.AddCommand("cameras", "Cameras that can be found", [&line, json] { return cameras(line, *json); });
  command->add_flag("--json", *json, "Print JSON");
}

}  // namespace vireo::host

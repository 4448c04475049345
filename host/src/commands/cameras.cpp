// SPDX-License-Identifier: MIT
#include <memory>

#include "camera/local_cameras.h"
#include "camera/logger.h"
#include "commands/commands.h"
#include "terminal/console.h"
#include "terminal/json.h"
#include "terminal/table.h"

namespace vireo::host {
namespace {

std::string tableOf(const std::vector<FoundCamera>& cameras) {
  TextTable table({"ID", "VENDOR", "MODEL", "SERIAL", "ADDRESS", "PROTOCOL"});
  for (const FoundCamera& camera : cameras) {
    table.AddRow({camera.id, camera.vendor, camera.model, camera.serial, camera.address, camera.protocol});
  }
  return table.Text(OutputWidth());
}

Json jsonOf(const std::vector<FoundCamera>& cameras) {
  Json list = Json::array();
  for (const FoundCamera& camera : cameras) {
    list.push_back({{"id", camera.id},
                    {"vendor", camera.vendor},
                    {"model", camera.model},
                    {"serial", camera.serial},
                    {"address", camera.address},
                    {"protocol", camera.protocol}});
  }
  return list;
}

ExitStatus cameras(const CommandLine& line, bool json) {
  const HostLogger logger(line.camera.logLevel);
  if (line.camera.simulate) EnableSimulatedCamera();
  const std::vector<FoundCamera> found = FindCameras();
  if (json) {
    Print(JsonText(jsonOf(found)));
  } else if (!found.empty()) {
    Print(tableOf(found));
  }
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

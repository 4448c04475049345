// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "parameters/names.h"
#include "parameters/writer.h"
#include "terminal/console.h"

namespace vireo::host {
namespace {

void requireCommand(Camera& camera, const std::string& name) {
  if (camera.Catalogue().contains(name)) {
    throw Failure(ExitStatus::Failed,
                  fmt::format("{0} is not a command: use 'vireo-cam set {0}=VALUE'", name));
  }
  const std::vector<std::string> known = CommandNames(camera.Nodes());
  if (std::count(known.begin(), known.end(), name) == 0) throw UnknownNameFailure(name, known);
}

ExitStatus run(Camera& camera, const std::vector<std::string>& names) {
  std::vector<common::Parameter> commands;
  for (const std::string& name : names) {
    requireCommand(camera, name);
    commands.emplace_back().name = name;
  }
  ParameterWriter(camera).WriteInOrder(commands).Require();
  camera.CheckLink();
  for (const std::string& name : names) Print(fmt::format("{} executed\n", name));
  return ExitStatus::Done;
}

}  // namespace

void AddRunCommand(CommandLine& line) {
  const auto names = std::make_shared<std::vector<std::string>>();
  CLI::App* const command =
      line.AddCameraCommand("run", "Execute commands of the camera, in order", Use::Control,
                            [names](Camera& camera) { return run(camera, *names); });
  command->add_option("NAME", *names, "Commands to execute")->required();
}

}  // namespace vireo::host

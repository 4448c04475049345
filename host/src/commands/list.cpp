// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "commands/row_options.h"
#include "terminal/console.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

ExitStatus list(Camera& camera, const RowOptions& options) {
  std::vector<ParameterRow> rows;
  std::vector<std::string> failures;
  for (const Reading& reading : ReadAll(camera)) {
    rows.push_back(RowOf(reading, camera.Features()));
    if (!reading.failure.empty() && reading.failure != noEntryText) failures.push_back(reading.failure);
  }
  for (const auto& [name, node] : camera.Nodes()) {
    if (getNodeType(node) == genicam::NodeType::Command) rows.push_back(RowOf(name, camera.Features()));
  }
  std::sort(rows.begin(), rows.end(),
            [](const auto& one, const auto& other) { return one.name < other.name; });
  PrintRows(rows, options);
  if (!failures.empty())
    PrintError(fmt::format("note: the camera does not give {}: {}{}", Counted(failures.size(), "value"),
                           failures.front(), failures.size() > 1 ? "; --json has the other reasons" : ""));
  return ExitStatus::Done;
}

}  // namespace

void AddListCommand(CommandLine& line) {
  const auto options = std::make_shared<RowOptions>();
  CLI::App* const command =
      line.AddCameraCommand("list", "Parameters and commands: value, unit, bounds, entries and access",
                            Use::Reading, [options](Camera& camera) { return list(camera, *options); });
  command->add_option("PATTERN", options->patterns, "Names to show: with * and ?, or a part of the name");
  options->AddFormatsTo(command);
}

}  // namespace vireo::host

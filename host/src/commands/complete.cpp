// SPDX-License-Identifier: MIT
// What the shell's completion asks for: words, a line each.
#include <fmt/format.h>

#include <memory>

#include "camera/local_cameras.h"
#include "commands/commands.h"
#include "parameters/names.h"
#include "terminal/console.h"

namespace vireo::host {
namespace {

using Words = std::vector<std::string>;

Words cameras(const CameraOptions& options) {
  if (options.simulate) EnableSimulatedCamera();
  Words words;
  for (const FoundCamera& camera : FindCameras()) {
    words.push_back(camera.id);
    if (camera.address != camera.id) words.push_back(camera.address);
  }
  return words;
}

Words features(Camera& camera) {
  Words words;
  for (const common::Parameter& parameter : camera.Scan()) words.push_back(parameter.name);
  return words;
}

Words settings(Camera& camera) {
  Words words;
  for (const common::Parameter& parameter : camera.Scan()) {
    const bool available = IsAvailable(camera.Nodes(), parameter.name);
    if (parameter.metadata->writable && available) words.push_back(parameter.name + "=");
  }
  return words;
}

Words values(Camera& camera, const std::string& name) {
  for (const common::Parameter& parameter : camera.Scan()) {
    if (parameter.name != name) continue;
    if (!parameter.metadata->entries.empty()) return parameter.metadata->entries;
    if (std::holds_alternative<bool>(parameter.value)) return {"true", "false"};
    return {parameter.GetValueAsString()};
  }
  return {};
}

Words wordsOf(Camera& camera, const std::string& kind, const std::string& name) {
  if (kind == "features") return features(camera);
  if (kind == "settings") return settings(camera);
  if (kind == "commands") return CommandNames(camera.Nodes());
  return values(camera, name);
}

ExitStatus complete(const CommandLine& line, const std::string& kind, const std::string& name) {
  const auto print = [](const Words& words) {
    for (const std::string& word : words) Print(word + '\n');
    return ExitStatus::Done;
  };
  if (kind == "cameras") return print(cameras(line.camera));
  return WithCamera(line.camera, Use::Reading,
                    [&](Camera& camera) { return print(wordsOf(camera, kind, name)); });
}

}  // namespace

void AddCompleteCommand(CommandLine& line) {
  const auto kind = std::make_shared<std::string>();
  const auto name = std::make_shared<std::string>();
  CLI::App* const command = line.AddCommand("complete", "Print words for the shell's completion",
                                            [&line, kind, name] { return complete(line, *kind, *name); });
  command->group("");  // not shown
  command->add_option("KIND", *kind, "cameras, features, settings, commands, or values of NAME")
      ->required()
      ->check(OneOf({"cameras", "features", "settings", "commands", "values"}));
  command->add_option("NAME", *name, "Feature whose values to print");
}

}  // namespace vireo::host

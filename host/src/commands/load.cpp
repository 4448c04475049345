// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "commands/differences.h"
#include "terminal/console.h"

namespace vireo::host {
namespace {

struct LoadOptions {
  std::string file;
  bool identity = false;
  bool json = false;
};

// A file with identity comes from --identity or from before there was one.
Settings chosen(Camera& camera, const Settings& settings, const LoadOptions& options) {
  if (options.identity) return settings;
  std::vector<std::string> left;
  Settings others = WithoutIdentity(settings, camera.Features(), left);
  if (!left.empty()) {
    PrintError(fmt::format("note: left alone, as they make a camera that one: {}; --identity loads them",
                           fmt::join(left, ", ")));
  }
  return others;
}

ExitStatus load(Camera& camera, const Settings& wanted, bool json) {
  if (const std::string note = OtherModelNote(camera, wanted); !note.empty()) PrintError("note: " + note);
  const std::vector<Difference> differences = Apply(camera, wanted);
  const std::size_t done = wanted.settings.size() - differences.size();
  if (json) {
    Print(JsonText({{"settings", wanted.settings.size()},
                    {"asInFile", done},
                    {"differences", DifferencesJson(differences, "file", "camera")}}));
  } else {
    Print(fmt::format("{} of {} settings are as in the file\n", done, wanted.settings.size()));
    Print(DifferencesText(differences, "FILE", "CAMERA"));
  }
  return differences.empty() ? ExitStatus::Done : ExitStatus::Failed;
}

}  // namespace

void AddLoadCommand(CommandLine& line) {
  const auto options = std::make_shared<LoadOptions>();
  CLI::App* const command = line.AddCommand(
      "load", "Set the camera as a file says; lists what differs afterwards", [&line, options] {
        const Settings settings = ReadSettings(options->file);
        return WithCamera(line.camera, Use::Control, [&](Camera& camera) {
          return load(camera, chosen(camera, settings, *options), options->json);
        });
      });
  command->add_option("FILE", options->file, "File that 'save' wrote; - for standard input")->required();
  command->add_flag("--identity", options->identity, identityHelp);
  command->add_flag("--json", options->json, "Print JSON");
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "commands/differences.h"
#include "parameters/settings.h"
#include "terminal/console.h"
#include "terminal/output_file.h"

namespace vireo::host {
namespace {

struct SaveCommandOptions {
  std::string file;
  bool force = false;
  bool identity = false;

  bool ToFile() const { return file != "-"; }
};

ExitStatus save(Camera& camera, const SaveCommandOptions& options) {
  const auto [settings, notes] = SettingsOf(camera, options.identity);
  for (const std::string& note : notes) PrintError("note: " + note);
  if (!options.ToFile()) {
    Print(SettingsText(settings));
    return ExitStatus::Done;
  }
  WriteFile(options.file, options.force, SettingsText(settings));
  Print(fmt::format("{} settings saved to {}\n", settings.settings.size(), options.file));
  return ExitStatus::Done;
}

}  // namespace

void AddSaveCommand(CommandLine& line) {
  const auto options = std::make_shared<SaveCommandOptions>();
  CLI::App* const command =
      line.AddCommand("save", "Keep the camera's settings in a file (JSON)", [&line, options] {
        if (options->ToFile()) RefuseExisting(options->file, options->force);
        return WithCamera(line.camera, Use::ControlIfFree,
                          [&](Camera& camera) { return save(camera, *options); });
      });
  command->add_option("FILE", options->file, "File to write; - for standard output")->required();
  command->add_flag("--identity", options->identity, identityHelp);
  command->add_flag("--force", options->force, "Overwrite an existing file");
}

}  // namespace vireo::host

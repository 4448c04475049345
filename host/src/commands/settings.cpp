// SPDX-License-Identifier: MIT
#include "../settings.h"

#include <fmt/format.h>

#include <memory>

#include "../console.h"
#include "../output_file.h"
#include "commands.h"

namespace vireo::host {
namespace {

constexpr std::string_view standardOutput = "-";

struct SettingsOptions {
  std::string file;
  bool force = false;
};

ExitStatus save(Camera& camera, const SettingsOptions& options) {
  const Settings settings = SettingsOf(camera);
  if (options.file == standardOutput) {
    Print(SettingsText(settings));
    return ExitStatus::Done;
  }
  OutputFile output(options.file, options.force);
  output.Write(SettingsText(settings));
  output.Commit();
  Print(fmt::format("{} settings saved to {}\n", settings.settings.size(), options.file));
  return ExitStatus::Done;
}

/// The differences as a table; the status says whether there are any.
ExitStatus report(const std::vector<Difference>& differences) {
  if (differences.empty()) return ExitStatus::Done;
  TextTable table({"NAME", "FILE", "CAMERA", "REASON"});
  for (const Difference& difference : differences) {
    table.AddRow({difference.name, difference.inFile, difference.inCamera, difference.reason});
  }
  Print(table.Text(OutputWidth()));
  return ExitStatus::Failed;
}

ExitStatus load(Camera& camera, const Settings& wanted) {
  if (const std::string note = OtherModel(camera, wanted); !note.empty()) PrintError("note: " + note);
  const std::vector<Difference> differences = Apply(camera, wanted);
  Print(fmt::format("{} of {} settings are as in the file\n", wanted.settings.size() - differences.size(),
                    wanted.settings.size()));
  return report(differences);
}

}  // namespace

void AddSettingsCommands(CommandLine& line) {
  const auto options = std::make_shared<SettingsOptions>();
  CLI::App* command =
      line.AddCommand("save", "Keep the camera's settings in a file (JSON)", [&line, options] {
        if (options->file != standardOutput) RefuseExisting(options->file, options->force);
        return WithCamera(line.camera, Use::Reading, [&](Camera& camera) { return save(camera, *options); });
      });
  command->add_option("FILE", options->file, "File to write; - for standard output")->required();
  command->add_flag("--force", options->force, "Overwrite an existing file");

  command = line.AddCommand(
      "load", "Set the camera as a file says; lists what differs afterwards", [&line, options] {
        const Settings wanted = ReadSettings(options->file);
        return WithCamera(line.camera, Use::Control, [&](Camera& camera) { return load(camera, wanted); });
      });
  command->add_option("FILE", options->file, "File that 'save' wrote")->required();

  command = line.AddCommand(
      "diff", "Settings that differ between a file and the camera; status 1 if any do", [&line, options] {
        const Settings wanted = ReadSettings(options->file);
        return WithCamera(line.camera, Use::Reading,
                          [&](Camera& camera) { return report(Compare(camera, wanted)); });
      });
  command->add_option("FILE", options->file, "File that 'save' wrote")->required();
}

}  // namespace vireo::host

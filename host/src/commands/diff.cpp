// SPDX-License-Identifier: MIT
#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "commands/differences.h"
#include "terminal/console.h"

namespace vireo::host {
namespace {

struct DiffOptions {
  std::string file;
  std::string other;  // empty: the camera
  bool identity = false;
  bool json = false;
};

ExitStatus report(const std::vector<Difference>& differences, const DiffOptions& options) {
  const bool files = !options.other.empty();
  if (options.json) {
    Print(JsonText(DifferencesJson(differences, files ? "first" : "file", files ? "second" : "camera")));
  } else {
    Print(DifferencesText(differences, files ? "FIRST" : "FILE", files ? "SECOND" : "CAMERA"));
  }
  return differences.empty() ? ExitStatus::Done : ExitStatus::Failed;
}

Settings chosen(const Settings& settings, const genicam::DetailedFeatures& features,
                const DiffOptions& options) {
  std::vector<std::string> left;
  return options.identity ? settings : WithoutIdentity(settings, features, left);
}

ExitStatus diff(const CommandLine& line, const DiffOptions& options) {
  if (options.file == "-" && options.other == "-")
    throw Failure(ExitStatus::WrongUsage, "standard input can be one of the two files only");
  const Settings file = ReadSettings(options.file);
  if (!options.other.empty()) {
    const Settings other = ReadSettings(options.other);
    return report(Compare(chosen(file, {}, options), chosen(other, {}, options)), options);
  }
  return WithCamera(line.camera, Use::ControlIfFree, [&](Camera& camera) {
    return report(Compare(camera, chosen(file, camera.Features(), options)), options);
  });
}

}  // namespace

void AddDiffCommand(CommandLine& line) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App* const command = line.AddCommand(
      "diff", "Settings that differ between a file and the camera, or two files; status 1 if any do",
      [&line, options] { return diff(line, *options); });
  command->add_option("FILE", options->file, "File that 'save' wrote; - for standard input")->required();
  command->add_option("OTHER", options->other, "File to compare it with; default: the camera");
  command->add_flag("--identity", options->identity, identityHelp);
  command->add_flag("--json", options->json, "Print JSON");
}

}  // namespace vireo::host

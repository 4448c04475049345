// SPDX-License-Identifier: MIT
#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "terminal/console.h"
#include "terminal/output_file.h"

namespace vireo::host {
namespace {

struct XmlOptions {
  std::string file = "-";
  bool force = false;

  bool ToFile() const { return !file.empty() && file != "-"; }
};

ExitStatus xml(Camera& camera, const XmlOptions& options) {
  const common::NativeDocument document = camera.Adapter().GetNativeParameterDocument();
  if (document.content.empty()) {
    throw Failure(ExitStatus::Failed, "the camera gives no description of itself");
  }
  if (options.ToFile()) {
    WriteFile(options.file, options.force, document.content);
  } else {
    Print(document.content);
  }
  return ExitStatus::Done;
}

}  // namespace

void AddXmlCommand(CommandLine& line) {
  const auto options = std::make_shared<XmlOptions>();
  CLI::App* const command = line.AddCommand("xml", "The camera's own description", [&line, options] {
    if (options->ToFile()) RefuseExisting(options->file, options->force);
    return WithCamera(line.camera, Use::Reading, [&](Camera& camera) { return xml(camera, *options); });
  });
  command->add_option("-o,--output", options->file, "File to write; default: standard output")
      ->type_name("FILE");
  command->add_flag("--force", options->force, "Overwrite an existing file");
}

}  // namespace vireo::host

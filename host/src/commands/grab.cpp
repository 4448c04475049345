// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <map>
#include <memory>

#include "../camera.h"
#include "../frame_saver.h"
#include "../frame_stream.h"
#include "../interrupt.h"
#include "../progress_line.h"
#include "../text_table.h"
#include "commands.h"

namespace vireo::host {
namespace {

struct GrabOptions {
  std::int64_t frames = 1;
  SaveOptions save;
  double patience = 10.0;
};

const std::map<std::string, FileFormat> formats = {
    {"png", FileFormat::Png}, {"tiff", FileFormat::Tiff}, {"raw", FileFormat::Raw}};

std::string summary(const StreamStatistics& statistics, const FrameSaver& saver, const GrabOptions& options) {
  if (saver.Saved() == 1) return fmt::format("1 frame in {}\n", options.save.directory.string());
  return fmt::format("{} frames in {}: {:.2f} s, {:.1f} frames/s, {:.1f} MB/s, {} lost, {} bad\n",
                     saver.Saved(), options.save.directory.string(), statistics.Seconds(),
                     statistics.FrameRate(), statistics.MegabytesPerSecond(), statistics.Lost(),
                     statistics.Faults().Bad());
}

ExitStatus grab(Camera& camera, const GrabOptions& options) {
  CatchInterrupts();
  const std::string pixelFormat = camera.ValueOr("PixelFormat", "Mono8");
  FrameSaver saver(options.save, pixelFormat, options.frames);
  FrameStream stream(camera, {options.frames, std::nullopt, options.patience});
  std::exception_ptr streamError;
  {
    ProgressLine progress(options.frames);
    stream.OnProgress([&](const StreamStatistics& statistics) { progress.Show(statistics); });
    try {
      stream.Run([&](const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
        return saver.Save(info, buffer);
      });
    } catch (...) {
      streamError = std::current_exception();  // what came is saved first
    }
  }
  saver.Finish();
  if (streamError) std::rethrow_exception(streamError);
  Print(summary(stream.Statistics(), saver, options));
  return ExitStatus::Done;
}

}  // namespace

void AddGrabCommand(CommandLine& line) {
  const auto options = std::make_shared<GrabOptions>();
  CLI::App* const command =
      line.AddCommand("grab", "Save frames as files, and frames.csv about them", [&line, options] {
        if (options->save.stack && options->save.format == FileFormat::Raw) {
          throw Failure(ExitStatus::WrongUsage, "--stack makes a TIFF file: leave --format raw out");
        }
        return WithCamera(
            line.camera, [&](Camera& camera) { return grab(camera, *options); }, true);
      });
  command->add_option("-n,--frames", options->frames, "Frames to grab; 0: until Ctrl-C")
      ->check(Quiet(CLI::NonNegativeNumber))
      ->type_name("N")
      ->capture_default_str();
  command->add_option("-o,--output", options->save.directory, "Directory for the files")
      ->type_name("DIR")
      ->capture_default_str();
  command
      ->add_option(
          "-f,--format", options->save.format,
          "png: pixels scaled to 8 or 16 bits; tiff: the camera's own numbers; raw: the bytes as they came")
      ->transform(Quiet(CLI::CheckedTransformer(formats)))
      ->type_name("png|tiff|raw")
      ->default_str("png");
  command->add_flag("--stack", options->save.stack,
                    "All frames into one TIFF file of many pages, frames.tiff");
  command->add_flag("--force", options->save.force, "Overwrite existing files");
  command
      ->add_option("--patience", options->patience,
                   "Seconds without any frame after which it fails; 0: never")
      ->type_name("S")
      ->check(Quiet(CLI::NonNegativeNumber))
      ->capture_default_str();
}

}  // namespace vireo::host

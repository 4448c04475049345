// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <map>
#include <memory>
#include <optional>

#include "../camera.h"
#include "../console.h"
#include "../frame_saver.h"
#include "../frame_stream.h"
#include "../interrupt.h"
#include "../parameter_values.h"
#include "../progress_line.h"
#include "commands.h"

namespace vireo::host {
namespace {

struct GrabOptions {
  std::int64_t frames = 1;
  std::string format;  // as it is written; empty: the format that suits
  SaveOptions save;
  double patience = 10.0;
};

constexpr std::int64_t mostFrames = 1'000'000'000;

const std::map<std::string, FileFormat> formats = {
    {"png", FileFormat::Png}, {"tiff", FileFormat::Tiff}, {"raw", FileFormat::Raw}};

std::string framesText(std::uint64_t frames) {
  return frames == 1 ? "1 frame" : fmt::format("{} frames", frames);
}

std::string summary(const StreamStatistics& statistics, std::uint64_t saved, const GrabOptions& options) {
  const auto wanted = static_cast<std::uint64_t>(options.frames);
  std::string text = saved < wanted ? fmt::format("{} of {}", saved, framesText(wanted)) : framesText(saved);
  text += fmt::format(" in {}", options.save.directory.string());
  if (saved > 1) {
    text += fmt::format(": {:.2f} s, {:.1f} frames/s, {:.1f} MB/s, {} lost, {} bad", statistics.Seconds(),
                        statistics.FrameRate(), statistics.MegabytesPerSecond(), statistics.Lost(),
                        statistics.Faults().Bad());
  }
  return text + '\n';
}

std::string savedText(std::uint64_t saved) {
  return saved == 0 ? "nothing is saved"
                    : fmt::format("{} {} saved", framesText(saved), saved == 1 ? "is" : "are");
}

void receive(FrameStream& stream, FrameSaver& saver, const GrabOptions& options) {
  ProgressLine progress(options.frames);
  stream.OnProgress([&](const StreamStatistics& statistics) { progress.Show(statistics); });
  stream.Run([&](const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
    return saver.Save(info, buffer);
  });
}

ExitStatus grab(Camera& camera, const GrabOptions& options) {
  CatchInterrupts();
  const std::string pixelFormat = camera.ValueOr("PixelFormat", "Mono8");
  FrameSaver saver(options.save, pixelFormat);
  FrameStream stream(camera, {options.frames, std::nullopt, options.patience});
  std::optional<Failure> failure;
  try {
    receive(stream, saver, options);
  } catch (const std::exception& error) {
    failure = camera.Explained(error);  // what came is saved first
  }
  try {
    saver.Finish();
  } catch (const std::exception& error) {
    if (!failure) failure = Failure(ExitStatus::Failed, error.what());
  }
  if (failure)
    throw Failure(failure->status, fmt::format("{}; {}", failure->what(), savedText(saver.Saved())));
  Print(summary(stream.Statistics(), saver.Saved(), options));
  return ExitStatus::Done;
}

}  // namespace

void AddGrabCommand(CommandLine& line) {
  const auto options = std::make_shared<GrabOptions>();
  CLI::App* const command =
      line.AddCommand("grab", "Save frames as files, and frames.csv about them", [&line, options] {
        if (options->save.stack && !options->format.empty() && options->format != "tiff") {
          throw Failure(ExitStatus::WrongUsage,
                        fmt::format("--stack makes a TIFF file: leave --format {} out", options->format));
        }
        if (!options->format.empty()) options->save.format = formats.at(options->format);
        return WithCamera(line.camera, Use::Stream, [&](Camera& camera) { return grab(camera, *options); });
      });
  command->add_option("-n,--frames", options->frames, "Frames to grab; 0: until Ctrl-C")
      ->check(WholeNumber(0, mostFrames))
      ->type_name("N")
      ->capture_default_str();
  command->add_option("-o,--output", options->save.directory, "Directory for the files")
      ->type_name("DIR")
      ->capture_default_str();
  command
      ->add_option(
          "-f,--format", options->format,
          "png: pixels scaled to 8 or 16 bits; tiff: the camera's own numbers; raw: the bytes as they came")
      ->check(OneOf(NamesOf(formats)))
      ->type_name("png|tiff|raw")
      ->default_str("png");
  command->add_flag("--stack", options->save.stack,
                    "All frames into one TIFF file of many pages, frames.tiff");
  command->add_flag("--force", options->save.force, "Overwrite existing files");
  command
      ->add_option("--patience", options->patience,
                   "Seconds without any frame after which it fails; 0: never")
      ->type_name("S")
      ->check(Seconds())
      ->capture_default_str();
}

}  // namespace vireo::host

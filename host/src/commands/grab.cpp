// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "commands/commands.h"
#include "commands/completeness.h"
#include "commands/frame_taking.h"
#include "pictures/frame_pipe.h"
#include "pictures/frame_saver.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

struct GrabOptions {
  TakingOptions taking;
  std::string format;  // of --format; empty when that is not given
  bool stack = false;
  SaveOptions save;
  bool allowLost = false;
};

std::vector<std::string> formatNames() {
  std::vector<std::string> names;
  for (const FrameFormat* const format : FrameFormats()) names.emplace_back(format->name);
  return names;
}

std::string formatHelp() {
  std::vector<std::string> texts;
  for (const FrameFormat* const format : FrameFormats()) {
    texts.push_back(fmt::format("{}: {}", format->name, format->holds));
  }
  return fmt::format("{}", fmt::join(texts, "; "));
}

bool goesToStandardOutput(const GrabOptions& options) {
  return options.save.directory == "-";
}

void checkStandardOutput(const GrabOptions& options) {
  const bool raw = options.format.empty() || options.format == rawFormat.name;
  if (options.stack || !raw) {
    throw Failure(ExitStatus::WrongUsage, "-o - writes raw frames: leave --stack and --format out");
  }
  if (isatty(STDOUT_FILENO) == 1) {
    throw Failure(ExitStatus::WrongUsage, "-o - writes raw frames: send them to a program or a file");
  }
}

const FrameFormat* chosenFormat(const GrabOptions& options) {
  if (options.stack && !options.format.empty() && options.format != stackFormat.name) {
    throw Failure(ExitStatus::WrongUsage,
                  fmt::format("--stack makes a TIFF file: leave --format {} out", options.format));
  }
  if (options.stack) return &stackFormat;
  const auto isNamed = [&](const FrameFormat* format) { return format->name == options.format; };
  const auto named = std::find_if(FrameFormats().begin(), FrameFormats().end(), isNamed);
  return named == FrameFormats().end() ? options.save.format : *named;
}

std::string summary(const StreamStatistics& statistics, std::uint64_t saved, const GrabOptions& options) {
  const auto wanted = static_cast<std::uint64_t>(options.taking.AllFrames());
  std::string text =
      saved < wanted ? fmt::format("{} of {}", saved, Counted(wanted, "frame")) : Counted(saved, "frame");
  text += goesToStandardOutput(options) ? " written" : " in " + options.save.directory.string();
  if (saved > 1) {
    text += fmt::format(": {:.2f} s, {:.1f} frames/s, {:.1f} MB/s, {} lost, {} bad", statistics.Seconds(),
                        statistics.FrameRate(), statistics.MegabytesPerSecond(), statistics.Lost(),
                        statistics.Bad());
  }
  return text;
}

std::string savedText(std::uint64_t saved) {
  if (saved == 0) return "nothing is saved";
  return fmt::format("{} {} saved", Counted(saved, "frame"), saved == 1 ? "is" : "are");
}

std::unique_ptr<FrameSink> makeSink(const FrameTaking& taking, const GrabOptions& options) {
  if (goesToStandardOutput(options)) return std::make_unique<FramePipe>(taking.Format());
  SaveOptions save = options.save;
  save.extraColumns = taking.Columns();
  return std::make_unique<FrameSaver>(save, taking.Format());
}

// What stopped it; what came until then is saved.
std::optional<Failure> takeAndSave(Camera& camera, FrameTaking& taking, FrameSink& sink) {
  std::optional<Failure> failure;
  try {
    taking.Run(sink);
  } catch (const std::exception& error) {
    failure = camera.FailureBehind(error);
  }
  try {
    sink.Finish();
  } catch (const std::exception& error) {
    if (!failure) failure = Failure(ExitStatus::Failed, error.what());
  }
  return failure;
}

ExitStatus grab(Camera& camera, const GrabOptions& options) {
  CatchInterrupts();
  FrameTaking taking(camera, options.taking);
  const std::unique_ptr<FrameSink> sink = makeSink(taking, options);
  if (const auto failure = takeAndSave(camera, taking, *sink)) {
    if (*failure->what() == '\0') throw *failure;  // the reader has seen enough
    throw Failure(failure->status, fmt::format("{}; {}", failure->what(), savedText(sink->Saved())));
  }
  const std::string text = summary(taking.Stream().Statistics(), sink->Saved(), options);
  if (goesToStandardOutput(options)) {
    PrintError(text);
  } else {
    Print(text + '\n');
  }
  RequireComplete(taking.Stream(), options.allowLost);
  return ExitStatus::Done;
}

void addOptions(CLI::App* command, GrabOptions& options) {
  options.taking.AddTo(command);
  command
      ->add_option("-o,--output", options.save.directory,
                   "Directory for the files; - writes raw frames to standard output")
      ->type_name("DIR")
      ->capture_default_str();
  command->add_option("-f,--format", options.format, formatHelp())
      ->check(OneOf(formatNames()))
      ->type_name(fmt::format("{}", fmt::join(formatNames(), "|")))
      ->default_str(std::string(options.save.format->name));
  command->add_flag("--stack", options.stack, std::string(stackFormat.holds));
  command->add_flag("--force", options.save.force, "Overwrite existing files");
  AddAllowLostOption(command, options.allowLost);
}

}  // namespace

void AddGrabCommand(CommandLine& line) {
  const auto options = std::make_shared<GrabOptions>();
  CLI::App* const command =
      line.AddCommand("grab", "Save frames as files, and frames.csv about them", [&line, options] {
        if (goesToStandardOutput(*options)) checkStandardOutput(*options);
        options->taking.Check();
        options->save.format = chosenFormat(*options);
        return WithCamera(line.camera, Use::Stream, [&](Camera& camera) { return grab(camera, *options); });
      });
  addOptions(command, *options);
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>

#include "camera/stream.h"
#include "commands/commands.h"
#include "commands/completeness.h"
#include "commands/progress_line.h"
#include "commands/sweep.h"
#include "parameters/software_trigger.h"
#include "parameters/temporary_settings.h"
#include "pictures/frame_pipe.h"
#include "pictures/frame_saver.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

struct GrabOptions {
  std::int64_t frames = 1;
  std::string format;  // of --format; empty when that is not given
  bool stack = false;
  SaveOptions save;
  double patience = 10.0;
  bool allowLost = false;
  std::string trigger;  // software, or nothing
  std::int64_t every = 0;
  std::string sweep;

  // Of all values of a sweep; 0: until Ctrl-C.
  std::int64_t AllFrames() const {
    return sweep.empty() ? frames : frames * static_cast<std::int64_t>(SweepSize(sweep));
  }
};

constexpr std::int64_t mostFrames = 1'000'000'000;
constexpr std::int64_t longestPeriod = 86'400'000;  // milliseconds: a day

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
  const auto wanted = static_cast<std::uint64_t>(options.AllFrames());
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

// Each value of a sweep gets an acquisition of its own: no frame that was taken before the change is among
// its frames.
void receive(FrameStream& stream, FrameSink& sink, Sweep* sweep, const GrabOptions& options) {
  ProgressLine progress(options.AllFrames());
  stream.OnProgress([&](const FrameStream& running) { progress.Show(running); });
  std::vector<std::string> extra;
  const auto save = [&](const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
    return sink.Save(info, buffer, extra);
  };
  if (sweep == nullptr) return stream.Run(save);
  for (std::size_t i = 0; i < sweep->Size() && !Interrupted() && !stream.EndedEarly(); ++i) {
    extra = {sweep->Choose(i)};
    stream.ExpectFrames(options.frames * static_cast<std::int64_t>(i + 1));
    stream.Run(save);
  }
  stream.ExpectFrames(options.AllFrames());
}

std::unique_ptr<FrameSink> makeSink(Camera& camera, const GrabOptions& options) {
  if (goesToStandardOutput(options)) return std::make_unique<FramePipe>(PixelFormatOf(camera));
  return std::make_unique<FrameSaver>(options.save, PixelFormatOf(camera));
}

// What stopped it; what came until then is saved.
std::optional<Failure> receiveAndSave(Camera& camera, FrameStream& stream, FrameSink& sink, Sweep* sweep,
                                      const GrabOptions& options) {
  std::optional<Failure> failure;
  try {
    receive(stream, sink, sweep, options);
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

StreamOptions streamOptions(Camera& camera, const GrabOptions& options) {
  StreamOptions stream;
  stream.frames = options.sweep.empty() ? options.frames : 0;
  stream.patience = options.patience;
  if (options.trigger.empty()) return stream;
  stream.ask = [&camera] { FireSoftwareTrigger(camera); };
  stream.askPeriod = std::chrono::milliseconds(options.every);
  return stream;
}

ExitStatus grab(Camera& camera, GrabOptions options) {
  CatchInterrupts();
  std::optional<TemporarySettings> settings;
  std::optional<Sweep> sweep;
  if (!options.trigger.empty() || !options.sweep.empty()) settings.emplace(camera);
  if (!options.sweep.empty()) sweep.emplace(camera, *settings, options.sweep);
  if (sweep) options.save.extraColumns = {sweep->Name()};
  const std::unique_ptr<FrameSink> sink = makeSink(camera, options);
  if (!options.trigger.empty()) TurnOnSoftwareTrigger(camera, *settings);
  FrameStream stream(camera, streamOptions(camera, options));
  if (const auto failure = receiveAndSave(camera, stream, *sink, sweep ? &*sweep : nullptr, options)) {
    if (*failure->what() == '\0') throw *failure;  // the reader has seen enough
    throw Failure(failure->status, fmt::format("{}; {}", failure->what(), savedText(sink->Saved())));
  }
  const std::string text = summary(stream.Statistics(), sink->Saved(), options);
  if (goesToStandardOutput(options)) {
    PrintError(text);
  } else {
    Print(text + '\n');
  }
  RequireComplete(stream, options.allowLost);
  return ExitStatus::Done;
}

void addOptions(CLI::App* command, GrabOptions& options) {
  command->add_option("-n,--frames", options.frames, "Frames to grab; 0: until Ctrl-C")
      ->check(WholeNumber(0, mostFrames))
      ->type_name("N")
      ->capture_default_str();
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
  command->add_option("--trigger", options.trigger, "software: fire the camera's trigger for each frame")
      ->check(OneOf({"software"}))
      ->type_name("software");
  command->add_option("--every", options.every, "Milliseconds at least between two triggers")
      ->check(WholeNumber(0, longestPeriod))
      ->type_name("MS")
      ->needs("--trigger");
  AddSweepOption(command, options.sweep);
  AddPatienceOption(command, options.patience);
  AddAllowLostOption(command, options.allowLost);
}

}  // namespace

void AddGrabCommand(CommandLine& line) {
  const auto options = std::make_shared<GrabOptions>();
  CLI::App* const command =
      line.AddCommand("grab", "Save frames as files, and frames.csv about them", [&line, options] {
        if (goesToStandardOutput(*options)) checkStandardOutput(*options);
        if (!options->sweep.empty() && options->frames == 0)
          throw Failure(ExitStatus::WrongUsage, "--sweep needs the frames of each value: --frames 1 or more");
        options->save.format = chosenFormat(*options);
        return WithCamera(line.camera, Use::Stream, [&](Camera& camera) { return grab(camera, *options); });
      });
  addOptions(command, *options);
}

}  // namespace vireo::host

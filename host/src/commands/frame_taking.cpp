// SPDX-License-Identifier: MIT
#include "commands/frame_taking.h"

#include <fmt/format.h>

#include <chrono>
#include <utility>

#include "commands/progress_line.h"
#include "parameters/software_trigger.h"
#include "terminal/interrupt.h"

namespace vireo::host {
namespace {

constexpr std::int64_t mostFrames = 1'000'000'000;
constexpr std::int64_t longestPeriod = 86'400'000;  // milliseconds: a day

StreamOptions streamOptions(Camera& camera, const TakingOptions& options) {
  StreamOptions stream;
  stream.frames = options.AllFrames();
  stream.patience = options.patience;
  if (options.trigger.empty()) return stream;
  stream.ask = [&camera] { FireSoftwareTrigger(camera); };
  stream.askPeriod = std::chrono::milliseconds(options.every);
  return stream;
}

}  // namespace

void TakingOptions::AddTo(CLI::App* command) {
  command->add_option("-n,--frames", frames, "Frames to grab; 0: until Ctrl-C")
      ->check(WholeNumber(0, mostFrames))
      ->type_name("N")
      ->capture_default_str();
  command->add_option("--trigger", trigger, "software: fire the camera's trigger for each frame")
      ->check(OneOf({"software"}))
      ->type_name("software");
  command->add_option("--every", every, "Milliseconds at least between two triggers")
      ->check(WholeNumber(0, longestPeriod))
      ->type_name("MS")
      ->needs("--trigger");
  AddSweepOption(command, sweep);
  AddPatienceOption(command, patience);
  AddReconnectOption(command, reconnect);
}

void TakingOptions::Check() const {
  if (!sweep.empty() && frames == 0)
    throw Failure(ExitStatus::WrongUsage, "--sweep needs the frames of each value: --frames 1 or more");
  const std::string name = SweepName(sweep);
  if (name == "PixelFormat")
    throw Failure(ExitStatus::WrongUsage, "the frames of one grab have one PixelFormat: grab once for each");
  if (!trigger.empty() && (name == "TriggerSelector" || name == "TriggerMode" || name == "TriggerSource"))
    throw Failure(ExitStatus::WrongUsage,
                  fmt::format("--trigger software sets {}: leave one of --trigger and --sweep out", name));
}

std::int64_t TakingOptions::AllFrames() const {
  return sweep.empty() ? frames : frames * static_cast<std::int64_t>(SweepSize(sweep));
}

FrameTaking::FrameTaking(Camera& camera, const TakingOptions& options)
    : camera_(camera),
      options_(options),
      reconnection_(camera, options.reconnect),
      format_(PixelFormatOf(camera)),
      stream_(camera, streamOptions(camera, options)) {
  if (!options.trigger.empty() || !options.sweep.empty()) settings_.emplace(camera);
  if (!options.sweep.empty()) sweep_.emplace(camera, *settings_, options.sweep);
}

std::vector<std::string> FrameTaking::Columns() const {
  std::vector<std::string> columns;
  if (sweep_) columns.push_back(sweep_->Name());
  if (reconnection_.IsWanted()) columns.emplace_back("outage_s");
  return columns;
}

// Each value of a sweep gets an acquisition of its own: no frame that was taken before the change is among
// its frames.
void FrameTaking::Run(FrameSink& sink) {
  if (!options_.trigger.empty()) TurnOnSoftwareTrigger(camera_, *settings_);
  if (!sweep_) return take(sink, [] {});
  sweep_->RequireAll();
  for (std::size_t i = 0; i < sweep_->Size() && !Interrupted(); ++i) {
    stream_.ExpectFrames(options_.frames * static_cast<std::int64_t>(i + 1));
    take(sink, [&] { value_ = sweep_->Choose(i); });
    if (stream_.EndedEarly()) break;
  }
  stream_.ExpectFrames(options_.AllFrames());
}

void FrameTaking::take(FrameSink& sink, const std::function<void()>& prepare) {
  const auto receive = [&] {
    prepare();
    requireSameFormat();
    ProgressLine progress(options_.AllFrames());
    stream_.OnProgress([&](const FrameStream& running) { progress.Show(running); });
    stream_.Run([&](const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
      return sink.Save(info, buffer, cells());
    });
  };
  reconnection_.Run(stream_, receive, [&] {
    if (settings_) settings_->Renew();
  });
}

// What `Columns` announces, for the frame that has just come.
std::vector<std::string> FrameTaking::cells() {
  std::vector<std::string> cells;
  if (sweep_) cells.push_back(value_);
  if (!reconnection_.IsWanted()) return cells;
  const StreamStatistics::Outages& outages = stream_.Statistics().EndedOutages();
  const bool isTold = std::exchange(outages_, outages.count) == outages.count;
  cells.push_back(isTold ? "" : fmt::format("{:.3f}", outages.latest));
  return cells;
}

// The pictures of one grab are made in one way.
void FrameTaking::requireSameFormat() {
  const std::string now = PixelFormatOf(camera_).name;
  if (now == format_.name) return;
  throw Failure(
      ExitStatus::Failed,
      fmt::format("the frames of one grab have one PixelFormat, and now it is {} instead of {}: grab "
                  "once for each",
                  now, format_.name));
}

}  // namespace vireo::host

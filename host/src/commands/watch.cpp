// SPDX-License-Identifier: MIT
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "commands/completeness.h"
#include "commands/reconnection.h"
#include "commands/watch_options.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"

namespace vireo::host {
namespace {

struct WatchCommandOptions : WatchOptions {
  bool allowLost = false;
  bool lines = false;
  bool reconnect = false;
};

// Prints what was seen of the stream once a second.
class SecondLines {
 public:
  void Print(const FrameStream& stream) {
    const Clock::time_point now = Clock::now();
    if (now - begun_ < std::chrono::seconds(printed_ + 1)) return;
    ++printed_;
    const StreamStatistics& statistics = stream.Statistics();
    const auto rates = statistics.LatestRates(now);
    host::Print(JsonLine({{"second", printed_},
                          {"frames", statistics.Frames()},
                          {"frames_per_second", rates.frames},
                          {"megabytes_per_second", rates.megabytes},
                          {"lost", statistics.Lost()},
                          {"bad", statistics.Bad()},
                          {"oversized", statistics.Faults().oversized},
                          {"outages", statistics.EndedOutages().count},
                          {"silence", stream.Silence()}}));
  }

 private:
  using Clock = StreamStatistics::Clock;

  Clock::time_point begun_ = Clock::now();
  std::int64_t printed_ = 0;
};

std::string summary(const StreamStatistics& statistics, const WatchCommandOptions& options) {
  if (options.lines) return JsonLine({{"summary", SummaryJson(statistics)}});
  return options.json ? JsonText(SummaryJson(statistics)) : SummaryText(statistics);
}

ExitStatus watch(Camera& camera, const WatchCommandOptions& options) {
  CatchInterrupts();
  Reconnection reconnection(camera, options.reconnect);
  FrameStream stream(camera, options.ForStream());
  std::exception_ptr error;
  try {
    SecondLines seconds;
    const auto report = [&](const FrameStream& running) {
      if (options.lines) seconds.Print(running);
    };
    reconnection.Run(
        stream, [&] { ReceiveOnly(stream, report); }, [] {});
  } catch (const Failure&) {
    error = std::current_exception();  // the summary of what came until then first
  }
  Print(summary(stream.Statistics(), options));
  if (error) std::rethrow_exception(error);
  RequireComplete(stream, options.allowLost);
  return ExitStatus::Done;
}

}  // namespace

void AddWatchCommand(CommandLine& line) {
  const auto options = std::make_shared<WatchCommandOptions>();
  CLI::App* const command =
      line.AddCameraCommand("watch", "Receive without saving: rate, lost and bad frames, longest gap",
                            Use::Stream, [options](Camera& camera) { return watch(camera, *options); });
  options->AddTo(command);
  AddAllowLostOption(command, options->allowLost);
  AddReconnectOption(command, options->reconnect);
  command->add_flag("--lines", options->lines, "With --json: one object a second, then the summary")
      ->needs("--json");
}

}  // namespace vireo::host

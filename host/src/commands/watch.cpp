// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <ctime>
#include <memory>
#include <optional>

#include "../camera.h"
#include "../console.h"
#include "../frame_stream.h"
#include "../interrupt.h"
#include "../parameter_rows.h"
#include "../progress_line.h"
#include "commands.h"

namespace vireo::host {
namespace {

struct WatchOptions {
  double seconds = 0.0;
  double patience = 10.0;
  bool json = false;
  bool keepRate = false;
};

constexpr std::size_t shownRanges = 20;

std::string rangeText(const LostRange& range) {
  return range.count == 1 ? fmt::format("{}", range.first) : fmt::format("{}-{}", range.first, range.last);
}

Json summaryJson(const StreamStatistics& statistics) {
  Json lost = Json::array();
  for (const LostRange& range : statistics.LostRanges()) lost.push_back({range.first, range.last});
  Json bad = Json::object();
  for (std::size_t i = 0; i < HostLogger::statusCount; ++i) {
    if (statistics.Faults().byStatus[i] != 0) bad[BufferStatusName(i)] = statistics.Faults().byStatus[i];
  }
  return {{"frames", statistics.Frames()},
          {"seconds", statistics.Seconds()},
          {"frames_per_second", statistics.FrameRate()},
          {"megabytes_per_second", statistics.MegabytesPerSecond()},
          {"lost", statistics.Lost()},
          {"lost_ids", lost},
          {"bad", bad},
          {"oversized", statistics.Faults().oversized},
          {"longest_gap_seconds", statistics.LongestGap()}};
}

std::string lostText(const StreamStatistics& statistics) {
  if (statistics.Lost() == 0) return "none";
  std::vector<std::string> ranges;
  for (const LostRange& range : statistics.LostRanges()) {
    if (ranges.size() < shownRanges) ranges.push_back(rangeText(range));
  }
  const char* const more = statistics.LostRanges().size() > shownRanges ? " ..." : "";
  return fmt::format("{} (ids {}{})", statistics.Lost(), fmt::join(ranges, " "), more);
}

std::string badText(const StreamStatistics& statistics) {
  std::vector<std::string> counts;
  for (std::size_t i = 0; i < HostLogger::statusCount; ++i) {
    const std::uint64_t count = statistics.Faults().byStatus[i];
    if (count != 0) counts.push_back(fmt::format("{} {}", count, BufferStatusName(i)));
  }
  return counts.empty() ? "none" : fmt::format("{}", fmt::join(counts, ", "));
}

std::string summaryText(const StreamStatistics& statistics) {
  return fmt::format(
      "Frames        {} in {:.2f} s\nRate          {:.2f} frames/s, {:.2f} MB/s\nLost frames   {}\n"
      "Bad frames    {}\nOversized     {}\nLongest gap   {:.1f} ms\n",
      statistics.Frames(), statistics.Seconds(), statistics.FrameRate(), statistics.MegabytesPerSecond(),
      lostText(statistics), badText(statistics), statistics.Faults().oversized,
      statistics.LongestGap() * 1e3);
}

StreamOptions streamOptions(const WatchOptions& options) {
  StreamOptions stream;
  if (options.seconds > 0.0) stream.seconds = options.seconds;
  stream.patience = options.patience;
  return stream;
}

void receive(FrameStream& stream) {
  ProgressLine progress(0);
  stream.OnProgress([&](const StreamStatistics& statistics) { progress.Show(statistics); });
  stream.Run([](const common::FrameInfo&, std::vector<std::uint8_t>&) { return true; });
  if (stream.Statistics().Frames() == 0) throw stream.Silence();
}

ExitStatus watch(Camera& camera, const WatchOptions& options) {
  CatchInterrupts();
  FrameStream stream(camera, streamOptions(options));
  std::exception_ptr error;
  try {
    receive(stream);
  } catch (const Failure&) {
    error = std::current_exception();  // what was seen until then is why one watches
  }
  const StreamStatistics& statistics = stream.Statistics();
  Print(options.json ? JsonText(summaryJson(statistics)) : summaryText(statistics));
  if (error) std::rethrow_exception(error);
  return ExitStatus::Done;
}

/// The camera's highest frame rate while it lives, then the one before.
class TemporaryRate {
 public:
  explicit TemporaryRate(Camera& camera) : camera_(camera) {
    for (const common::Parameter& parameter : camera.Adapter().Scan()) {
      if (parameter.name != "AcquisitionFrameRate" || !parameter.metadata->writable) continue;
      before_ = parameter;
      common::Parameter fastest = parameter;
      fastest.value = parameter.metadata->max.value_or(0.0);
      fastest.type = common::DataType::Double;
      if (std::get<double>(fastest.value) > 0.0) camera.Adapter().Write(fastest);
    }
  }
  TemporaryRate(const TemporaryRate&) = delete;
  TemporaryRate& operator=(const TemporaryRate&) = delete;
  ~TemporaryRate() {
    if (!before_) return;
    try {
      camera_.Adapter().Write(*before_);
    } catch (const std::runtime_error&) {  // a lost camera keeps its rate
    }
  }

 private:
  Camera& camera_;
  std::optional<common::Parameter> before_;
};

double processorSeconds(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

ExitStatus bench(Camera& camera, const WatchOptions& options) {
  CatchInterrupts();
  std::optional<TemporaryRate> rate;
  if (!options.keepRate) rate.emplace(camera);
  FrameStream stream(camera, streamOptions(options));
  // Waiting costs no processor time, so this thread's is what receiving costs beyond the wait.
  const double threadStart = processorSeconds(CLOCK_THREAD_CPUTIME_ID);
  const double processStart = processorSeconds(CLOCK_PROCESS_CPUTIME_ID);
  receive(stream);
  const double thread = processorSeconds(CLOCK_THREAD_CPUTIME_ID) - threadStart;
  const double process = processorSeconds(CLOCK_PROCESS_CPUTIME_ID) - processStart;
  const StreamStatistics& statistics = stream.Statistics();
  if (statistics.Frames() < 2) {
    throw Failure(ExitStatus::Failed, "too few frames to measure: 'vireo-cam watch' shows what comes");
  }
  const double frames = static_cast<double>(statistics.Frames());
  const double share = process / statistics.Seconds();
  if (options.json) {
    Json json = summaryJson(statistics);
    json["receive_microseconds_per_frame"] = thread / frames * 1e6;
    json["processor_share"] = share;
    Print(JsonText(json));
  } else {
    Print(summaryText(statistics) +
          fmt::format("Receiving     {:.1f} us a frame beyond the wait\nProcessor     {:.1f} % of one core\n",
                      thread / frames * 1e6, share * 100.0));
  }
  return ExitStatus::Done;
}

void addCommonOptions(CLI::App* command, WatchOptions& options) {
  command->add_option("--seconds", options.seconds, "Time to receive for; 0: until Ctrl-C")
      ->check(Seconds())
      ->type_name("S")
      ->capture_default_str();
  command
      ->add_option("--patience", options.patience, "Seconds without any frame after which it fails; 0: never")
      ->type_name("S")
      ->check(Seconds())
      ->capture_default_str();
  command->add_flag("--json", options.json, "Print the summary as JSON");
}

}  // namespace

void AddWatchCommands(CommandLine& line) {
  const auto watched = std::make_shared<WatchOptions>();
  CLI::App* command = line.AddCommand(
      "watch", "Receive without saving: rate, lost and bad frames, longest gap", [&line, watched] {
        return WithCamera(line.camera, Use::Stream, [&](Camera& camera) { return watch(camera, *watched); });
      });
  addCommonOptions(command, *watched);

  const auto measured = std::make_shared<WatchOptions>();
  measured->seconds = 5.0;
  command = line.AddCommand("bench", "Measure receiving at the camera's full rate", [&line, measured] {
    return WithCamera(line.camera, Use::Stream, [&](Camera& camera) { return bench(camera, *measured); });
  });
  addCommonOptions(command, *measured);
  command->add_flag("--keep-rate", measured->keepRate,
                    "Leave AcquisitionFrameRate as it is instead of raising it while measuring");
}

}  // namespace vireo::host

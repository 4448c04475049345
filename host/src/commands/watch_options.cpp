// SPDX-License-Identifier: MIT
#include "commands/watch_options.h"

#include <fmt/format.h>

#include "commands/progress_line.h"
#include "terminal/interrupt.h"

namespace vireo::host {
namespace {

constexpr std::size_t shownRanges = 20;

std::string rangeText(const LostRange& range) {
  return range.count == 1 ? fmt::format("{}", range.first) : fmt::format("{}-{}", range.first, range.last);
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
  if (statistics.Truncated() != 0) counts.push_back(fmt::format("{} truncated", statistics.Truncated()));
  return counts.empty() ? "none" : fmt::format("{}", fmt::join(counts, ", "));
}

std::string outageText(const StreamStatistics& statistics) {
  const StreamStatistics::Outages& ended = statistics.EndedOutages();
  const double open = statistics.OpenOutage(StreamStatistics::Clock::now());
  std::vector<std::string> texts;
  if (ended.count != 0)
    texts.push_back(fmt::format("{}, {:.2f} s without frames", ended.count, ended.seconds));
  if (open > 0.0) texts.push_back(fmt::format("one of {:.2f} s has not ended", open));
  return texts.empty() ? "" : fmt::format("Outages       {}\n", fmt::join(texts, "; "));
}

}  // namespace

void WatchOptions::AddTo(CLI::App* command) {
  command->add_option("--seconds", seconds, "Time to receive for; 0: until Ctrl-C")
      ->check(Seconds())
      ->type_name("S")
      ->capture_default_str();
  AddPatienceOption(command, patience);
  command->add_flag("--json", json, "Print the summary as JSON");
}

StreamOptions WatchOptions::ForStream() const {
  StreamOptions stream;
  if (seconds > 0.0) stream.seconds = seconds;
  stream.patience = patience;
  return stream;
}

void ReceiveOnly(FrameStream& stream, const FrameStream::Progress& report) {
  ProgressLine progress(0);
  stream.OnProgress([&](const FrameStream& running) {
    progress.Show(running);
    if (report) report(running);
  });
  stream.Run([](const common::FrameInfo&, std::vector<std::uint8_t>&) { return true; });
  const bool hadNoTime = Interrupted() && stream.Silence().empty();
  if (stream.Statistics().Frames() == 0 && !hadNoTime) throw stream.SilenceFailure();
}

Json SummaryJson(const StreamStatistics& statistics) {
  Json lost = Json::array();
  for (const LostRange& range : statistics.LostRanges()) lost.push_back({range.first, range.last});
  Json bad = Json::object();
  for (std::size_t i = 0; i < HostLogger::statusCount; ++i) {
    if (statistics.Faults().byStatus[i] != 0) bad[BufferStatusName(i)] = statistics.Faults().byStatus[i];
  }
  if (statistics.Truncated() != 0) bad["truncated"] = statistics.Truncated();
  return {{"frames", statistics.Frames()},
          {"seconds", statistics.Seconds()},
          {"frames_per_second", statistics.FrameRate()},
          {"megabytes_per_second", statistics.MegabytesPerSecond()},
          {"lost", statistics.Lost()},
          {"lost_ids", lost},
          {"bad", bad},
          {"oversized", statistics.Faults().oversized},
          {"outages", statistics.EndedOutages().count},
          {"outage_seconds", statistics.EndedOutages().seconds},
          {"open_outage_seconds", statistics.OpenOutage(StreamStatistics::Clock::now())},
          {"longest_gap_seconds", statistics.LongestGap()}};
}

std::string SummaryText(const StreamStatistics& statistics) {
  return fmt::format(
      "Frames        {} in {:.2f} s\nRate          {:.2f} frames/s, {:.2f} MB/s\nLost frames   {}\n"
      "Bad frames    {}\nOversized     {}\nLongest gap   {:.1f} ms\n{}",
      statistics.Frames(), statistics.Seconds(), statistics.FrameRate(), statistics.MegabytesPerSecond(),
      lostText(statistics), badText(statistics), statistics.Faults().oversized, statistics.LongestGap() * 1e3,
      outageText(statistics));
}

}  // namespace vireo::host

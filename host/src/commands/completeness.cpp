// SPDX-License-Identifier: MIT
#include "commands/completeness.h"

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

namespace vireo::host {

void AddAllowLostOption(CLI::App* command, bool& allowLost) {
  command->add_flag("--allow-lost", allowLost, "End with status 0 although frames were lost or bad");
}

void RequireComplete(const FrameStream& stream, bool allowLost) {
  const StreamStatistics& statistics = stream.Statistics();
  std::vector<std::string> missing;
  const bool stopped = stream.EndedEarly() || stream.FinalSilence() > 0.0;
  if (stream.EndedEarly()) missing.emplace_back("it ended early");
  if (stream.FinalSilence() > 0.0)
    missing.push_back(fmt::format("none came in the last {:.1f} s", stream.FinalSilence()));
  const std::uint64_t outages = statistics.EndedOutages().count;
  const std::pair<std::uint64_t, const char*> counts[] = {{outages, outages == 1 ? "outage" : "outages"},
                                                          {statistics.Lost(), "lost"},
                                                          {statistics.Bad(), "bad"},
                                                          {statistics.Faults().oversized, "too large"}};
  for (const auto& [count, what] : counts) {
    if (count != 0 && !allowLost) missing.push_back(fmt::format("{} {}", count, what));
  }
  if (missing.empty()) return;
  const char* const advice = stopped ? "" : " (--allow-lost accepts that)";
  throw Failure(ExitStatus::Incomplete,
                fmt::format("not all frames are there: {}{}", fmt::join(missing, ", "), advice));
}

}  // namespace vireo::host

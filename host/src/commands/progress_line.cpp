// SPDX-License-Identifier: MIT
#include "commands/progress_line.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "terminal/console.h"

namespace vireo::host {
namespace {

constexpr std::uint64_t barWidth = 30;

std::string bar(std::uint64_t done, std::uint64_t all) {
  const auto filled = static_cast<std::size_t>(std::min(done * barWidth / all, barWidth));
  return fmt::format("[{}{}] {}/{}", std::string(filled, '#'), std::string(barWidth - filled, '.'), done,
                     all);
}

std::string flowText(const FrameStream& stream) {
  if (const std::string silence = stream.Silence(); !silence.empty()) return silence;
  const auto rates = stream.Statistics().LatestRates(StreamStatistics::Clock::now());
  return fmt::format("{:.1f} frames/s  {:.1f} MB/s", rates.frames, rates.megabytes);
}

}  // namespace

ProgressLine::ProgressLine(std::int64_t frames) : frames_(frames), terminal_(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
  if (shown_) std::fputs("\n", stderr);
}

void ProgressLine::Show(const FrameStream& stream) {
  if (!terminal_ || stream.Statistics().IsLost()) return;  // a note on the loss stands there
  const StreamStatistics& statistics = stream.Statistics();
  const std::string count = frames_ > 0 ? bar(statistics.Frames(), static_cast<std::uint64_t>(frames_))
                                        : fmt::format("{} frames", statistics.Frames());
  std::string line =
      fmt::format("{}  {}  lost {}  bad {}", count, flowText(stream), statistics.Lost(), statistics.Bad());
  // A line that wraps could not be written over.
  if (const std::size_t width = ErrorWidth()) line.resize(std::min(line.size(), width - 1));
  std::fputs(("\r" + line + "\x1b[K").c_str(), stderr);
  shown_ = true;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "progress_line.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <string>

namespace vireo::host {
namespace {

constexpr std::uint64_t barWidth = 30;

std::string bar(std::uint64_t done, std::uint64_t all) {
  const auto filled = static_cast<std::size_t>(std::min(done * barWidth / all, barWidth));
  return fmt::format("[{}{}] {}/{}", std::string(filled, '#'), std::string(barWidth - filled, '.'), done,
                     all);
}

}  // namespace

ProgressLine::ProgressLine(std::int64_t frames) : frames_(frames), terminal_(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
  if (shown_) fmt::print(stderr, "\n");
}

void ProgressLine::Show(const StreamStatistics& statistics) {
  if (!terminal_) return;
  const std::string count = frames_ > 0 ? bar(statistics.Frames(), static_cast<std::uint64_t>(frames_))
                                        : fmt::format("{} frames", statistics.Frames());
  fmt::print(stderr, "\r{}  {:.1f} frames/s  {:.1f} MB/s  lost {}  bad {}\x1b[K", count,
             statistics.FrameRate(), statistics.MegabytesPerSecond(), statistics.Lost(),
             statistics.Faults().Bad());
  std::fflush(stderr);
  shown_ = true;
}

}  // namespace vireo::host

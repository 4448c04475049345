// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "host_logger.h"

namespace vireo::host {

/// Frame ids that are missing between two neighbours; both ends are included.
struct LostRange {
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  std::uint64_t count = 0;
};

/// What was seen of a stream of frames. One thread.
class StreamStatistics {
 public:
  using Clock = std::chrono::steady_clock;

  void AddFrame(std::uint64_t frameId, std::uint64_t bytes, Clock::time_point arrival);
  /// Takes over what the log told about undelivered frames since `before`.
  void SetFaults(const HostLogger::FrameFaults& before, const HostLogger::FrameFaults& now);

  std::uint64_t Frames() const { return frames_; }
  std::uint64_t Bytes() const { return bytes_; }
  std::uint64_t Lost() const { return lost_; }
  const std::vector<LostRange>& LostRanges() const { return lostRanges_; }
  const HostLogger::FrameFaults& Faults() const { return faults_; }

  double Seconds() const;    ///< from the first frame to the last
  double FrameRate() const;  ///< frames per second between the first and the last frame
  double MegabytesPerSecond() const;
  double LongestGap() const { return longestGap_; }  ///< seconds between two arrivals

 private:
  void countLost(std::uint64_t frameId);

  std::uint64_t frames_ = 0;
  std::uint64_t bytes_ = 0;
  std::uint64_t lost_ = 0;
  std::uint64_t lastId_ = 0;
  double longestGap_ = 0.0;
  Clock::time_point first_;
  Clock::time_point last_;
  std::vector<LostRange> lostRanges_;
  HostLogger::FrameFaults faults_;
};

}  // namespace vireo::host

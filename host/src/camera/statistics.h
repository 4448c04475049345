// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "camera/logger.h"

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
  struct Rates {
    double frames = 0.0;
    double megabytes = 0.0;
  };
  /// Losses of the link that ended: frames came again.
  struct Outages {
    std::uint64_t count = 0;
    double seconds = 0.0;  ///< without frames, of all of them
    double latest = 0.0;   ///< the same of the latest one
  };

  void AddFrame(std::uint64_t frameId, std::uint64_t bytes, Clock::time_point arrival);
  /// The next frame is of another acquisition: its id tells nothing of lost ones.
  void BeginAgain();
  /// The link is lost; the time without frames ends with the next one. `begun` is where it began when none
  /// has come yet.
  void AddLoss(Clock::time_point begun);
  /// A frame that came, but with fewer bytes than its image needs.
  void AddTruncated() { ++truncated_; }
  /// Ends what `begun` began. A silence of a second or more since the last frame counts in the time, so that
  /// a stream that stopped does not keep its rate.
  void End(Clock::time_point begun, Clock::time_point end);
  /// Takes over what the log told about undelivered frames since `before`.
  void SetFaults(const HostLogger::FrameFaults& before, const HostLogger::FrameFaults& now);

  std::uint64_t Frames() const { return frames_; }
  std::uint64_t Lost() const { return lost_; }
  const std::vector<LostRange>& LostRanges() const { return lostRanges_; }
  const HostLogger::FrameFaults& Faults() const { return faults_; }
  std::uint64_t Truncated() const { return truncated_; }
  std::uint64_t Bad() const { return faults_.Bad() + truncated_; }  ///< came damaged or truncated
  const Outages& EndedOutages() const { return outages_; }
  double OpenOutage(Clock::time_point now) const;         ///< seconds of the one that has not ended; 0: none
  bool IsLost() const { return lostSince_.has_value(); }  ///< since a loss no frame came

  double Seconds() const;    ///< from the first frame to the last, or to the end of a silence behind it
  double FrameRate() const;  ///< frames per second in that time
  double MegabytesPerSecond() const;
  /// Frames and megabytes per second in the second before `now`.
  Rates LatestRates(Clock::time_point now) const;
  double LongestGap() const { return longestGap_; }  ///< seconds without a frame
  /// Seconds without a frame at the end; 0 unless that was over a second and twice as long as any gap before.
  double FinalSilence() const { return finalSilence_; }

 private:
  struct Arrival {
    Clock::time_point time;
    std::uint64_t bytes = 0;
  };

  void countLost(std::uint64_t frameId);
  void endOutage(Clock::time_point arrival);

  std::uint64_t frames_ = 0;
  std::uint64_t bytes_ = 0;
  std::uint64_t lost_ = 0;
  std::uint64_t truncated_ = 0;
  std::uint64_t lastId_ = 0;
  double longestGap_ = 0.0;
  double finalSilence_ = 0.0;
  Outages outages_;
  std::optional<Clock::time_point> lostSince_;  // the time without frames that has not ended
  bool idKnown_ = false;
  Clock::time_point first_;
  Clock::time_point last_;
  Clock::time_point end_;       // of the time that counts: the last frame, or a silence behind it
  std::deque<Arrival> latest_;  // those of the second before the last one
  std::vector<LostRange> lostRanges_;
  HostLogger::FrameFaults faults_;
};

}  // namespace vireo::host

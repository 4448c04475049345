// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "camera/camera.h"
#include "camera/frame_requests.h"
#include "camera/pixel_format.h"
#include "camera/statistics.h"

namespace vireo::host {

struct StreamOptions {
  std::int64_t frames = 0;                 ///< frames to receive; 0: until something else ends it
  std::optional<double> seconds;           ///< time to receive for
  double patience = 10.0;                  ///< seconds without any frame after which it fails; 0: for ever
  std::function<bool()> enough = nullptr;  ///< asked between frames; true ends it
  std::function<void()> ask = nullptr;     ///< makes the camera take a frame; none: it sends by itself
  std::chrono::milliseconds askPeriod{0};  ///< least time between two frames that are asked for
};

/// Acquisitions, one after the other: starts each, receives frames and stops it, whatever happens.
class FrameStream {
 public:
  /// Gets every whole frame: its data are the first `info.size` bytes of `buffer`, which may be swapped for
  /// another. False ends the acquisition.
  using Sink = std::function<bool(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer)>;
  /// Called about ten times a second, and after the last frame.
  using Progress = std::function<void(const FrameStream&)>;

  FrameStream(Camera& camera, StreamOptions options)
      : camera_(camera), options_(std::move(options)), requests_(options_.ask, options_.askPeriod) {}

  void OnProgress(Progress progress) { progress_ = std::move(progress); }

  /// Called with the seconds without a frame when the first one after a loss has come.
  void OnResumed(std::function<void(double)> resumed) { resumed_ = std::move(resumed); }

  /// Returns when the frames or the seconds are complete, on Ctrl-C, and when the sink has enough. Throws
  /// Failure: LinkLost, or Failed when no frame comes; the statistics stay valid. A further run is a new
  /// acquisition that counts on, frames and seconds too.
  void Run(const Sink& sink);
  /// From here on `total` frames of all runs make it complete.
  void ExpectFrames(std::int64_t total) { options_.frames = total; }
  /// The link was lost: until a frame comes again that is an outage in the statistics.
  void AddLoss() { statistics_.AddLoss(started_); }

  const StreamStatistics& Statistics() const { return statistics_; }
  /// What its last run received.
  const PixelFormat& Format() const { return pixelFormat_; }
  /// Whether the frames or the seconds that were asked for are over.
  bool IsComplete() const;
  /// Whether it ended before the frames or the seconds were complete.
  bool EndedEarly() const;
  /// Seconds without a frame at the end of the time that was asked for; 0 unless that was over a second and
  /// twice as long as any gap before.
  double FinalSilence() const { return options_.seconds ? statistics_.FinalSilence() : 0.0; }
  /// Empty while good frames come. From a second without one on it says for how long, and what the packets
  /// are where frames come damaged.
  std::string Silence() const;
  /// Why no good frame came since the last one, as far as that can be told, and what to do.
  Failure SilenceFailure() const;

 private:
  using Clock = std::chrono::steady_clock;

  void begin();
  void end();
  void countFaults();
  double silentSeconds() const;
  std::string silenceText(const char* secondsFormat) const;
  std::uint64_t badOnes() const;  // since the last good frame, while they still come
  bool receive(const Sink& sink);
  bool isWhole(const common::FrameInfo& info) const;
  void waited();
  void showProgress();

  Camera& camera_;
  StreamOptions options_;
  Progress progress_;
  std::function<void(double)> resumed_;
  StreamStatistics statistics_;
  std::vector<std::uint8_t> buffer_;
  PixelFormat pixelFormat_;
  FrameRequests requests_;
  std::optional<HostLogger::FrameFaults> faultsBefore_;  // the first run
  std::uint64_t badBefore_ = 0;                          // bad frames up to the last good one
  std::uint64_t badSeen_ = 0;
  Clock::time_point lastBad_;
  std::string packetFacts_;  // asked for when frames come damaged only
  bool enough_ = false;
  Clock::time_point started_;
  Clock::time_point lastFrame_;
  Clock::time_point lastProgress_;
};

}  // namespace vireo::host

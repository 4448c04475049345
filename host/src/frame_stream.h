// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "camera.h"
#include "stream_statistics.h"

namespace vireo::host {

struct StreamOptions {
  std::int64_t frames = 0;        ///< frames to receive; 0: until something else ends it
  std::optional<double> seconds;  ///< time to receive for
  double patience = 10.0;         ///< seconds without any frame after which it fails; 0: for ever
};

/// One acquisition: starts it, receives frames and stops it, whatever happens.
class FrameStream {
 public:
  /// Gets every frame: its data are the first `info.size` bytes of `buffer`, which may be swapped for
  /// another. False ends the acquisition.
  using Sink = std::function<bool(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer)>;
  /// Called about ten times a second, and after the last frame.
  using Progress = std::function<void(const StreamStatistics&)>;

  FrameStream(Camera& camera, StreamOptions options) : camera_(camera), options_(options) {}

  void OnProgress(Progress progress) { progress_ = std::move(progress); }

  /// Returns when the frames or the seconds are complete, on Ctrl-C, and when the sink has enough. Throws
  /// Failure: LinkLost, or Failed when no frame comes; the statistics stay valid.
  void Run(const Sink& sink);

  const StreamStatistics& Statistics() const { return statistics_; }
  /// Why no good frame came since the last one, as far as that can be told, and what to do.
  Failure Silence() const;

 private:
  using Clock = std::chrono::steady_clock;

  bool finished() const;
  void receive(const Sink& sink);
  void waited();
  void showProgress();

  Camera& camera_;
  StreamOptions options_;
  Progress progress_;
  StreamStatistics statistics_;
  std::vector<std::uint8_t> buffer_;
  bool enough_ = false;
  Clock::time_point started_;
  Clock::time_point lastFrame_;
  Clock::time_point lastProgress_;
};

/// Bytes that one frame of the camera takes, as the camera states it.
std::size_t FrameBytes(Camera& camera);

}  // namespace vireo::host

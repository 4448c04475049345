// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "camera/pixel_format.h"
#include "camera/stream.h"
#include "commands/command_line.h"
#include "commands/reconnection.h"
#include "commands/sweep.h"
#include "parameters/temporary_settings.h"
#include "pictures/frame_sink.h"

namespace vireo::host {

/// How the frames of a grab are taken.
struct TakingOptions {
  std::int64_t frames = 1;  ///< of each value of a sweep; 0: until Ctrl-C
  double patience = 10.0;
  std::string trigger;     ///< software, or nothing
  std::int64_t every = 0;  ///< milliseconds at least between two triggers
  std::string sweep;
  bool reconnect = false;

  void AddTo(CLI::App* command);
  /// Throws Failure with WrongUsage for options that do not fit together.
  void Check() const;
  std::int64_t AllFrames() const;
};

/// Takes the frames of a grab: by the software trigger, with one value of a parameter after the other, across
/// losses of the link. The camera's settings are put back at its end.
class FrameTaking {
 public:
  /// Throws Failure when the camera does not have what the options name.
  FrameTaking(Camera& camera, const TakingOptions& options);

  /// The columns of the index for what the sink gets with a frame besides.
  std::vector<std::string> Columns() const;
  /// Throws Failure, like `FrameStream::Run`; the stream's statistics stay valid.
  void Run(FrameSink& sink);
  const FrameStream& Stream() const { return stream_; }
  const PixelFormat& Format() const { return format_; }

 private:
  void take(FrameSink& sink, const std::function<void()>& prepare);
  std::vector<std::string> cells();
  void requireSameFormat();

  Camera& camera_;
  TakingOptions options_;
  Reconnection reconnection_;  // before anything is changed
  std::optional<TemporarySettings> settings_;
  std::optional<Sweep> sweep_;
  std::string value_;   // of the sweep, as the camera has it
  PixelFormat format_;  // of all frames
  FrameStream stream_;
  std::uint64_t outages_ = 0;  // that the sink was told of
};

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>

#include "camera/camera.h"
#include "camera/stream.h"
#include "commands/command_line.h"
#include "parameters/settings.h"

namespace vireo::host {

/// What --reconnect does: after a loss of the link it connects again until it is told to stop, gives the
/// camera the settings that it had at the beginning, and goes on.
class Reconnection {
 public:
  /// Keeps the camera's settings when `wanted`; selectors move meanwhile. Without it a loss is a failure.
  Reconnection(Camera& camera, bool wanted);

  bool IsWanted() const { return settings_.has_value(); }
  /// Calls `receive`, which runs the stream, and after each loss again; before that `renew`, which does to
  /// the camera what was done to it besides. Standard error tells of losses and how long no frame came.
  /// Throws what `receive` throws, and Failure with LinkLost when Ctrl-C or the stream's time ends a loss.
  void Run(FrameStream& stream, const std::function<void()>& receive, const std::function<void()>& renew);

 private:
  bool isLoss(const std::exception& error);
  void connect(const FrameStream& stream);
  void restore();

  Camera& camera_;
  std::optional<Settings> settings_;
};

/// Adds --reconnect to a command that receives frames.
void AddReconnectOption(CLI::App* command, bool& reconnect);

}  // namespace vireo::host

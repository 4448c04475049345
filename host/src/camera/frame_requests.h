// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace vireo::host {

/// Asks a camera for one frame after the other: for the next one when the last one has come, whole or not.
/// One thread.
class FrameRequests {
 public:
  using Clock = std::chrono::steady_clock;

  /// `ask` makes the camera take a frame, none leaves it to the camera; `period` is the least time between
  /// two.
  FrameRequests(std::function<void()> ask, Clock::duration period) : ask_(std::move(ask)), period_(period) {}

  /// An acquisition begins: nothing is asked for yet. What does not come within `retry` is asked for again.
  void Begin(Clock::duration retry);
  /// Asks when it is time to. Waits for that time where it is near.
  void Next();
  /// The frame that was asked for has come.
  void Came() { askedFirst_.reset(); }
  /// Since when a frame is waited for, given when the last one came.
  Clock::time_point WaitingSince(Clock::time_point lastFrame) const;

 private:
  std::function<void()> ask_;
  Clock::duration period_;
  Clock::duration retry_{};
  Clock::time_point asked_;                      // the last time
  std::optional<Clock::time_point> askedFirst_;  // for the frame that is waited for
};

}  // namespace vireo::host

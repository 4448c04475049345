// SPDX-License-Identifier: MIT
#include "camera/frame_requests.h"

#include <thread>

namespace vireo::host {
namespace {

constexpr std::chrono::milliseconds near(100);  // as long as receiving waits for a frame

}  // namespace

void FrameRequests::Begin(Clock::duration retry) {
  retry_ = retry;
  askedFirst_.reset();
}

void FrameRequests::Next() {
  if (!ask_) return;
  const Clock::time_point due = asked_ + (askedFirst_ ? retry_ : period_);
  if (due - Clock::now() > near || (askedFirst_ && due > Clock::now())) return;
  std::this_thread::sleep_until(due);
  asked_ = Clock::now();
  if (!askedFirst_) askedFirst_ = asked_;
  ask_();
}

FrameRequests::Clock::time_point FrameRequests::WaitingSince(Clock::time_point lastFrame) const {
  if (!ask_) return lastFrame;
  return askedFirst_.value_or(Clock::now());
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

#include "support/receive_frames.h"

/// A thread that does something again and again until it is destroyed.
class Repeating {
 public:
  template <typename Action>
  explicit Repeating(Action action)
      : thread_([this, action] {
          while (!stop_) action();
        }) {}
  ~Repeating() {
    stop_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

/// A host's receiving thread: receives as fast as it can until it is destroyed, and counts the frames.
class ReceiveLoop {
 public:
  explicit ReceiveLoop(vireo::common::AdapterBase& adapter) : thread_([this, &adapter] { run(adapter); }) {}

  /// Returns when `more` frames have come, or false after ten seconds.
  bool waitFor(long more) const {
    const long wanted = frames_ + more;
    for (int i = 0; i < 1000 && frames_ < wanted; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return frames_ >= wanted;
  }

 private:
  void run(vireo::common::AdapterBase& adapter) {
    const int got = receive(adapter, memory_, info_, 1, 1);
    frames_ += got;
    if (got == 0) std::this_thread::yield();
  }

  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(1 << 20);
  vireo::common::FrameInfo info_;
  std::atomic<long> frames_{0};
  const Repeating thread_;
};

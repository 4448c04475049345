// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "support/simulated_camera.h"

/// A host's receiving thread: receives as fast as it can until it is destroyed, and counts the frames.
class ReceiveLoop {
 public:
  explicit ReceiveLoop(vireo::common::AdapterBase& adapter) : thread_([this, &adapter] { run(adapter); }) {}
  ~ReceiveLoop() {
    stop_ = true;
    thread_.join();
  }
  ReceiveLoop(const ReceiveLoop&) = delete;
  ReceiveLoop& operator=(const ReceiveLoop&) = delete;

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
    std::vector<std::uint8_t> memory(1 << 20);
    vireo::common::FrameInfo info;
    while (!stop_) {
      const int got = receive(adapter, memory, info, 1, 1);
      frames_ += got;
      if (got == 0) std::this_thread::yield();
    }
  }

  std::atomic<bool> stop_{false};
  std::atomic<long> frames_{0};
  std::thread thread_;
};

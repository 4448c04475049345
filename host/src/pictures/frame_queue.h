// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "pictures/frame.h"

namespace vireo::host {

/// Hands frames from the receiving thread to worker threads.
///
/// The queue is bounded: while the workers lag behind by its whole length, `Put` waits, so that a slow disk
/// slows receiving down instead of filling the memory. (The frames that the camera sends meanwhile are lost
/// in the camera library, and their missing ids are counted.) No pixel is copied on the way: `Put` keeps the
/// caller's buffer and gives it another one of the same size in return, taken from those that the workers
/// have finished with. Memory is allocated only while more frames are pending than ever before.
///
/// The first error of a worker ends it all: what is pending is dropped, and `Put` says false from then on.
/// One thread calls the operations.
class FrameQueue {
 public:
  /// `work` runs on `threads` threads at once; with one, the frames come in their order.
  FrameQueue(unsigned threads, std::function<void(const Frame&)> work);
  FrameQueue(const FrameQueue&) = delete;
  FrameQueue& operator=(const FrameQueue&) = delete;
  ~FrameQueue();

  /// To be called when the frame has just come. False after an error: the frame is not taken.
  bool Put(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer,
           const std::vector<std::string>& extra = {});
  /// Waits until all frames are done and ends the workers. Gives the error that stopped them, if any.
  std::exception_ptr Close();

 private:
  void runWorker();
  bool takeFrame(Frame& frame);

  std::function<void(const Frame&)> work_;
  std::vector<std::thread> workers_;

  std::mutex mutex_;  // of what follows
  std::condition_variable changed_;
  std::deque<Frame> pending_;
  std::vector<std::vector<std::uint8_t>> spare_;
  std::exception_ptr error_;
  std::uint64_t taken_ = 0;
  bool closing_ = false;
};

}  // namespace vireo::host

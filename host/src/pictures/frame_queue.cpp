// SPDX-License-Identifier: MIT
#include "pictures/frame_queue.h"

#include <utility>

namespace vireo::host {
namespace {

constexpr std::size_t longest = 32;  // frames

}  // namespace

FrameQueue::FrameQueue(unsigned threads, std::function<void(const Frame&)> work) : work_(std::move(work)) {
  for (unsigned i = 0; i < threads; ++i) workers_.emplace_back([this] { runWorker(); });
}

FrameQueue::~FrameQueue() {
  Close();
}

bool FrameQueue::Put(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer,
                     const std::vector<std::string>& extra) {
  const std::uint64_t arrival = common::TimeNow();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return pending_.size() < longest || error_; });
  if (error_) return false;
  std::vector<std::uint8_t> next;
  if (!spare_.empty()) {
    next = std::move(spare_.back());
    spare_.pop_back();
  }
  next.resize(buffer.size());
  std::swap(next, buffer);
  pending_.push_back({++taken_, info, arrival, std::move(next), extra});
  changed_.notify_all();
  return true;
}

std::exception_ptr FrameQueue::Close() {
  {
    const std::lock_guard lock(mutex_);
    closing_ = true;
    changed_.notify_all();
  }
  for (std::thread& worker : workers_) worker.join();
  workers_.clear();
  return error_;
}

void FrameQueue::runWorker() {
  Frame frame;
  while (takeFrame(frame)) {
    try {
      work_(frame);
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!error_) error_ = std::current_exception();
      pending_.clear();
      changed_.notify_all();
    }
  }
}

bool FrameQueue::takeFrame(Frame& frame) {
  std::unique_lock lock(mutex_);
  if (!frame.buffer.empty() && spare_.size() < longest) spare_.push_back(std::move(frame.buffer));
  changed_.wait(lock, [&] { return !pending_.empty() || closing_; });
  if (pending_.empty()) return false;
  frame = std::move(pending_.front());
  pending_.pop_front();
  changed_.notify_all();
  return true;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace vireo::genicam {

/// A mutex that is handed over in the order of asking. A thread that takes it again and again, as a scan
/// does, cannot keep another waiting. Not recursive.
class FairMutex {
 public:
  void lock() noexcept {
    const unsigned ticket = next_.fetch_add(1);
    for (unsigned served = served_.load(); served != ticket; served = served_.load()) served_.wait(served);
  }
  void unlock() noexcept {
    served_.fetch_add(1);
    served_.notify_all();
  }

 private:
  std::atomic<unsigned> next_{0};
  std::atomic<unsigned> served_{0};
};

}  // namespace vireo::genicam

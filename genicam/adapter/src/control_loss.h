// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>
#include <type_traits>
#include <utility>

#include "fair_mutex.h"

namespace vireo::genicam {

/// What the "control-lost" signal reaches. Its user data is the address of `signalled`.
struct ControlLoss {
  std::atomic<bool> signalled{false};
  std::atomic<int> reporting{0};  ///< threads inside the signal's handler

  static ControlLoss& of(void* userData) { return *static_cast<ControlLoss*>(userData); }
};
static_assert(std::is_standard_layout_v<ControlLoss>);

/// Writes the record of one loss. It stands in adapter.cpp and is named like the signal's handler, because
/// the record names both.
void onControlLost() noexcept;

/// A call of this thread into the camera library. A loss that the library reports from inside it is recorded
/// after it: no logger is called while the library or the adapter holds a lock.
class LibraryCall {
 public:
  LibraryCall() noexcept { ++depth; }
  ~LibraryCall() {
    if (--depth > 0) return;
    for (int losses = std::exchange(deferred, 0); losses > 0; --losses) onControlLost();
  }
  LibraryCall(const LibraryCall&) = delete;
  LibraryCall& operator=(const LibraryCall&) = delete;

  /// True when this thread is inside a call, which then records one loss more at its end.
  static bool defersLoss() noexcept {
    if (depth > 0) ++deferred;
    return depth > 0;
  }

 private:
  static inline thread_local int depth = 0;
  static inline thread_local int deferred = 0;
};

/// A call that touches a feature: one at a time, as the camera library's feature tree wants it.
class FeatureCall {
 public:
  explicit FeatureCall(FairMutex& features) noexcept : lock_(features) {}

 private:
  const LibraryCall call_;  // ends after the lock is given back
  const std::lock_guard<FairMutex> lock_;
};

}  // namespace vireo::genicam

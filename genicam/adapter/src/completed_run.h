// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <optional>
#include <thread>

#include "acquisition_runs.h"

namespace vireo::genicam {

/// The run that a receive has completed, for the stop that it calls through the interface: a host's override
/// may stand between them, and the host's own stop may come from another thread meanwhile.
class CompletedRun {
 public:
  /// Says for as long as it lives that the calling thread has completed `run`.
  class Scope {
   public:
    Scope(CompletedRun& completed, AcquisitionRuns::Run run) : completed_(completed) {
      completed_.run_ = run;
      completed_.thread_ = std::this_thread::get_id();
    }
    ~Scope() { completed_.thread_ = std::thread::id(); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    CompletedRun& completed_;
  };

  /// The run that the calling thread has completed. None when asked again, and none on another thread.
  std::optional<AcquisitionRuns::Run> take() {
    if (thread_ != std::this_thread::get_id()) return std::nullopt;
    thread_ = std::thread::id();
    return run_;
  }

 private:
  std::atomic<std::thread::id> thread_{};
  AcquisitionRuns::Run run_ = 0;  // for that thread alone
};

}  // namespace vireo::genicam

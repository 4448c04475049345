// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

#include "vireo/genicam/adapter.h"

namespace vireo::genicam {

using vireo::common::AcquisitionMode;

/// The acquisition stream, and the run that it serves.
///
/// The stream is lent to the receiving thread, one call at a time. Whoever releases or replaces it first lets
/// no new receive in, then waits for the one inside: at most that one's wait for a frame and one copy. A
/// receive loop cannot hold that up, because it no longer enters.
///
/// Runs are numbered, because the receive that delivers the last frame of a run ends it, and by then the
/// controlling thread may have begun another. Each start, stop and disconnect takes a new number once no
/// receive is inside; a number that is not the current one any more changes nothing here. So a run is ended
/// once, by whoever comes first, and never by a thread that means an earlier one.
///
/// Any thread may call anything here, at any time, except where a comment says otherwise. The mutex is held
/// only while these few fields are read or written: not while waiting for a receive, nor while the stream is
/// dropped, which takes seconds when the camera is gone.
class AcquisitionRuns {
 public:
  using Run = std::uint64_t;

  /// A delivered frame.
  struct Delivery {
    Run run;
    std::int64_t count;  ///< of frames delivered in the run, this one among them
    bool complete;       ///< a finite run has all its frames
  };

  /// The stream for the duration of one receive; empty when there is none.
  class Loan {
   public:
    explicit Loan(AcquisitionRuns& runs);
    ~Loan() { end(); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    ArvStream* stream() const noexcept { return stream_; }
    /// Gives the stream back: it must not be touched afterwards. Does nothing the second time.
    void end();
    /// Counts a frame, measures the rate and gives the stream back.
    Delivery deliver();

   private:
    AcquisitionRuns& runs_;
    ArvStream* stream_ = nullptr;
  };

  /// The stream, taken back from the receives, for whoever starts or disconnects. It takes a new number, and
  /// lends the stream again, if there is one, at its end at the latest. Its operations are for its thread
  /// alone.
  class Hold {
   public:
    explicit Hold(AcquisitionRuns& runs);
    ~Hold() { lend(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    Run run() const noexcept { return run_; }
    ArvStream* stream() const noexcept { return runs_.stream_; }
    /// Owns the reference of `stream` from now on; there must be none before, null is allowed.
    void put(ArvStream* stream) noexcept { runs_.stream_ = stream; }
    /// Drops the stream, and its buffers with it.
    void drop();
    /// Counts from zero again: a finite run when `frames` is greater than 0, else a continuous one.
    void reset(std::optional<std::int64_t> frames);
    /// Lets receives in. The run may be over at any time from here on. Does nothing the second time.
    void lend();

   private:
    AcquisitionRuns& runs_;
    bool lent_ = false;
    Run run_ = 0;
  };

  // Each of these does `action` under the lock, if it does anything, and returns whether it did. An
  // empty number means whichever run is the current one.

  /// Unless the run is over or being ended.
  template <typename Action>
  bool ifRunning(Run run, Action action) {
    const std::lock_guard lock(mutex_);
    if (!matches(run) || ending_) return false;
    action();
    return true;
  }
  bool isRunning(Run run) {
    return ifRunning(run, [] {});
  }

  /// Notes that the camera accepted to start. Unless the run is over or being ended.
  template <typename Action>
  bool accept(Run run, Action action) {
    return ifRunning(run, [&] {
      acquiring_ = true;
      action();
    });
  }

  /// Comes before the camera is told to stop: from then on nobody tells it to start this run. Unless the run
  /// is over.
  template <typename Action>
  bool beginEnd(std::optional<Run> run, Action action) {
    const std::lock_guard lock(mutex_);
    if (!matches(run)) return false;
    ending_ = true;
    action();
    return true;
  }

  /// Ends the run and drops the stream, which is gone on return. Unless the run is over.
  template <typename Action>
  bool end(std::optional<Run> run, Action action) {
    std::unique_lock lock(mutex_);
    if (!matches(run)) return false;
    takeBack(lock);
    if (!matches(run)) return false;
    renew();
    mode_ = AcquisitionMode::Stopped;
    target_.reset();
    acquiring_ = false;
    action();
    drop(lock);
    return true;
  }

  bool isCurrent(Run run) const;
  /// Whether the camera accepted to start, and no stop has come since.
  bool acquiring() const;
  /// Of one run, never of two.
  AcquisitionState state() const;

 private:
  bool matches(std::optional<Run> run) const noexcept { return !run || *run == run_; }
  void takeBack(std::unique_lock<std::mutex>& lock);
  void renew() noexcept;
  void drop(std::unique_lock<std::mutex>& lock);
  void leave() noexcept;

  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable idle_;
  int users_ = 0;                   // threads that touch the stream
  std::atomic<bool> lent_ = false;  // changed under the mutex
  ArvStream* stream_ = nullptr;
  Run run_ = 0;
  bool ending_ = false;     // the camera is being told to stop this run
  bool acquiring_ = false;  // the camera accepted to start, and no stop has come since
  AcquisitionMode mode_ = AcquisitionMode::Stopped;
  std::optional<std::int64_t> target_;
  std::int64_t received_ = 0;
  double rate_ = 0.0;  // frames per second
  std::chrono::steady_clock::time_point started_;
};

}  // namespace vireo::genicam

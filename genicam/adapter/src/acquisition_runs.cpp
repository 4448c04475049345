// SPDX-License-Identifier: MIT
#include "acquisition_runs.h"

#include <algorithm>
#include <utility>

namespace vireo::genicam {

AcquisitionRuns::Loan::Loan(AcquisitionRuns& runs) : runs_(runs) {
  if (!runs.lent_) return;  // without the lock: a hot loop on a stopped stream keeps nobody waiting
  const std::lock_guard lock(runs.mutex_);
  if (!runs.lent_) return;
  stream_ = runs.stream_;
  ++runs.users_;
}

void AcquisitionRuns::Loan::end() {
  if (std::exchange(stream_, nullptr) == nullptr) return;
  const std::lock_guard lock(runs_.mutex_);
  runs_.leave();
}

// While the loan lasts the number cannot change: the frame is counted in the run that delivered it.
AcquisitionRuns::Delivery AcquisitionRuns::Loan::deliver() {
  stream_ = nullptr;
  const std::lock_guard lock(runs_.mutex_);
  const std::int64_t count = ++runs_.received_;
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - runs_.started_;
  if (elapsed.count() > 0.0) runs_.rate_ = static_cast<double>(count) / elapsed.count();
  const bool complete = runs_.mode_ == AcquisitionMode::Finite && runs_.target_ && *runs_.target_ <= count;
  runs_.leave();
  return {runs_.run_, count, complete};
}

AcquisitionRuns::Hold::Hold(AcquisitionRuns& runs) : runs_(runs) {
  std::unique_lock lock(runs.mutex_);
  runs.takeBack(lock);
  runs.renew();
  run_ = runs.run_;
}

void AcquisitionRuns::Hold::drop() {
  std::unique_lock lock(runs_.mutex_);
  runs_.drop(lock);
}

void AcquisitionRuns::Hold::reset(std::optional<std::int64_t> frames) {
  const std::lock_guard lock(runs_.mutex_);
  runs_.target_ = frames;
  runs_.received_ = 0;
  runs_.rate_ = 0.0;
  runs_.started_ = std::chrono::steady_clock::now();
  runs_.mode_ = frames.value_or(0) > 0 ? AcquisitionMode::Finite : AcquisitionMode::Continuous;
}

void AcquisitionRuns::Hold::lend() {
  if (std::exchange(lent_, true)) return;
  const std::lock_guard lock(runs_.mutex_);
  runs_.lent_ = runs_.stream_ != nullptr;
}

bool AcquisitionRuns::isCurrent(Run run) const {
  const std::lock_guard lock(mutex_);
  return matches(run);
}

bool AcquisitionRuns::acquiring() const {
  const std::lock_guard lock(mutex_);
  return acquiring_;
}

AcquisitionState AcquisitionRuns::state() const {
  const std::lock_guard lock(mutex_);
  AcquisitionState state;
  state.mode = mode_;
  state.frameRate = rate_;
  if (mode_ == AcquisitionMode::Finite && target_) {
    state.framesRemaining = std::max<std::int64_t>(0, *target_ - received_);
  }
  return state;
}

void AcquisitionRuns::takeBack(std::unique_lock<std::mutex>& lock) {
  lent_ = false;
  idle_.wait(lock, [this] { return users_ == 0; });
}

void AcquisitionRuns::renew() noexcept {
  ++run_;
  ending_ = false;
}

// Whoever drops the stream counts as its user: nobody opens the camera's next one before this one is gone.
void AcquisitionRuns::drop(std::unique_lock<std::mutex>& lock) {
  GObjectGuard<ArvStream> dropped(std::exchange(stream_, nullptr));
  if (!dropped) return;
  ++users_;
  lock.unlock();
  dropped.reset(nullptr);
  lock.lock();
  leave();
}

void AcquisitionRuns::leave() noexcept {
  if (--users_ == 0) idle_.notify_all();
}

}  // namespace vireo::genicam

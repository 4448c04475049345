// SPDX-License-Identifier: MIT
#include "camera/statistics.h"

#include <algorithm>

namespace vireo::host {
namespace {

constexpr std::uint64_t lastShortId = 0xffff;  // GigE Vision 1.x counts 1 to 65535 and starts again
constexpr std::chrono::seconds rateSpan(1);
constexpr std::size_t keptRanges = 1000;  // a hopeless link must not eat the memory

double seconds(StreamStatistics::Clock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

}  // namespace

void StreamStatistics::AddFrame(std::uint64_t frameId, std::uint64_t bytes, Clock::time_point arrival) {
  if (frames_ == 0) {
    first_ = arrival;
  } else {
    longestGap_ = std::max(longestGap_, seconds(arrival - last_));
    if (idKnown_) countLost(frameId);
  }
  endOutage(arrival);
  last_ = end_ = arrival;
  lastId_ = frameId;
  idKnown_ = true;
  ++frames_;
  bytes_ += bytes;
  latest_.push_back({arrival, bytes});
  while (arrival - latest_.front().time > rateSpan) latest_.pop_front();
}

void StreamStatistics::BeginAgain() {
  idKnown_ = false;
  finalSilence_ = 0.0;
}

void StreamStatistics::AddLoss(Clock::time_point begun) {
  if (!lostSince_) lostSince_ = frames_ > 0 ? last_ : begun;
}

void StreamStatistics::endOutage(Clock::time_point arrival) {
  if (!lostSince_) return;
  outages_.latest = seconds(arrival - *lostSince_);
  outages_.seconds += outages_.latest;
  ++outages_.count;
  lostSince_.reset();
}

double StreamStatistics::OpenOutage(Clock::time_point now) const {
  return lostSince_ ? seconds(now - *lostSince_) : 0.0;
}

void StreamStatistics::End(Clock::time_point begun, Clock::time_point end) {
  const Clock::duration silence = end - (frames_ > 0 ? last_ : begun);
  if (silence < rateSpan) return;
  if (seconds(silence) > 2.0 * longestGap_) finalSilence_ = seconds(silence);
  longestGap_ = std::max(longestGap_, seconds(silence));
  if (frames_ > 0) end_ = end;
}

void StreamStatistics::countLost(std::uint64_t frameId) {
  std::uint64_t next = lastId_ + 1;
  std::uint64_t count = frameId - next;
  if (frameId <= lastId_) {
    // Only a counter that wraps goes back that far; a smaller step back is a counter that was reset.
    if (lastId_ > lastShortId || lastId_ - frameId < lastShortId / 2) return;
    count = lastShortId - lastId_ + (frameId == 0 ? 0 : frameId - 1);
    if (lastId_ == lastShortId) next = 1;
  }
  if (count == 0) return;
  lost_ += count;
  if (lostRanges_.size() < keptRanges)
    lostRanges_.push_back({next, frameId > 1 ? frameId - 1 : lastShortId, count});
}

void StreamStatistics::SetFaults(const HostLogger::FrameFaults& before, const HostLogger::FrameFaults& now) {
  for (std::size_t i = 0; i < HostLogger::statusCount; ++i) {
    faults_.byStatus[i] = now.byStatus[i] - before.byStatus[i];
  }
  faults_.oversized = now.oversized - before.oversized;
  faults_.largestBytes = now.largestBytes;
}

double StreamStatistics::Seconds() const {
  return seconds(end_ - first_);
}

double StreamStatistics::FrameRate() const {
  return Seconds() > 0.0 ? static_cast<double>(frames_ - 1) / Seconds() : 0.0;
}

// While the first frame is younger than a second it begins the time, and does not count in it.
StreamStatistics::Rates StreamStatistics::LatestRates(Clock::time_point now) const {
  const bool young = frames_ > 0 && now - first_ < rateSpan;
  const double span = young ? seconds(now - first_) : seconds(rateSpan);
  if (span <= 0.0) return {};
  Rates rates;
  for (std::size_t i = young ? 1 : 0; i < latest_.size(); ++i) {
    if (now - latest_[i].time >= rateSpan) continue;
    rates.frames += 1.0 / span;
    rates.megabytes += static_cast<double>(latest_[i].bytes) / span / 1e6;
  }
  return rates;
}

double StreamStatistics::MegabytesPerSecond() const {
  return frames_ > 0 ? FrameRate() * static_cast<double>(bytes_) / static_cast<double>(frames_) / 1e6 : 0.0;
}

}  // namespace vireo::host

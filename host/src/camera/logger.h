// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "brio/fnd/record.h"

namespace vireo::host {

/// The process logger while it lives. It shows records on standard error from a chosen level on, and counts
/// the frames that the adapter did not deliver, which only its records tell. Any thread may log and ask.
class HostLogger final : public brio::fnd::Logger {
 public:
  /// Frames that came but were not delivered; the damaged ones by the camera library's buffer status.
  static constexpr std::size_t statusCount = 16;
  struct FrameFaults {
    std::array<std::uint64_t, statusCount> byStatus{};
    std::uint64_t oversized = 0;
    std::uint64_t largestBytes = 0;  ///< size of the largest oversized frame
    std::uint64_t Bad() const;
  };

  /// `level` is one of `LogLevelNames`.
  explicit HostLogger(const std::string& level);
  ~HostLogger() override;

  void Record(std::int32_t level, const std::string& text) override;
  void Record(const std::string& text) override;

  /// Makes the adapter write the records that FrameFaults needs.
  void CountFrameFaults();
  FrameFaults Faults() const;

 private:
  void countFault(const std::string& text);

  std::int32_t shownFrom_;
  bool counting_ = false;
  std::array<std::atomic<std::uint64_t>, statusCount> byStatus_{};
  std::atomic<std::uint64_t> oversized_{0};
  std::atomic<std::uint64_t> largestBytes_{0};
};

/// The words that `HostLogger` takes for a level: "off" first, then from all records to the gravest.
std::vector<std::string> LogLevelNames();

/// The name of a buffer status, such as "missing packets".
const char* BufferStatusName(std::size_t status);

}  // namespace vireo::host

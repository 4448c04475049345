// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "stream_statistics.h"

namespace vireo::host {

/// One line on standard error that is written over and over; silent when that is no terminal.
class ProgressLine {
 public:
  /// `frames` is the expected count; 0 shows no bar.
  explicit ProgressLine(std::int64_t frames);
  ~ProgressLine();

  void Show(const StreamStatistics& statistics);

 private:
  std::int64_t frames_;
  bool terminal_;
  bool shown_ = false;
};

}  // namespace vireo::host

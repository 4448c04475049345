// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "camera/stream.h"

namespace vireo::host {

/// One line on standard error that is written over and over; silent when that is not a
/// terminal.
class ProgressLine {
 public:
  /// `frames` is the expected count; 0 shows no bar.
  explicit ProgressLine(std::int64_t frames);
  ~ProgressLine();

  /// Rates are those of the last second; without frames for so long it says that instead.
  void Show(const FrameStream& stream);

 private:
  std::int64_t frames_;
  bool terminal_;
  bool shown_ = false;
};

}  // namespace vireo::host

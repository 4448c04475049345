// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "camera/pixel_format.h"
#include "pictures/frame_queue.h"
#include "pictures/frame_sink.h"

namespace vireo::host {

/// Writes the pixels of frames to standard output, one image behind the other, for another program.
class FramePipe final : public FrameSink {
 public:
  /// `pixelFormat` tells where an image ends: what a camera sends behind it must not shift the next one.
  explicit FramePipe(PixelFormat pixelFormat);

  bool Save(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer,
            const std::vector<std::string>& extra) override;
  void Finish() override;
  std::uint64_t Saved() const override { return written_; }

 private:
  void write(const Frame& frame);

  PixelFormat pixelFormat_;
  std::uint64_t written_ = 0;
  FrameQueue queue_;  // last: its worker uses the above
};

}  // namespace vireo::host

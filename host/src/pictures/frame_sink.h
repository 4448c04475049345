// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vireo/common/adapter_base.h"

namespace vireo::host {

/// Where the frames of a grab go while receiving goes on. One thread calls it.
class FrameSink {
 public:
  virtual ~FrameSink() = default;

  /// Takes the frame's bytes and leaves a buffer of the same size. Waits while too many frames are pending.
  /// `extra` are the frame's cells in the further columns of an index. False once a frame could not be kept:
  /// `Finish` says why.
  virtual bool Save(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer,
                    const std::vector<std::string>& extra) = 0;
  /// Waits for what is pending. Throws what stopped the saving.
  virtual void Finish() = 0;
  /// Frames that are safe once `Finish` has returned or thrown.
  virtual std::uint64_t Saved() const = 0;
};

}  // namespace vireo::host

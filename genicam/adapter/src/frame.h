// SPDX-License-Identifier: MIT
#pragma once

#include <arv.h>

#include <cstdint>
#include <span>

#include "vireo/genicam/adapter.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// What became of one wait for a frame.
struct FrameResult {
  enum Outcome { None, Bad, TooLarge, Copied } outcome = None;
  ArvBufferStatus status = ARV_BUFFER_STATUS_SUCCESS;
  std::uint64_t size = 0;  ///< bytes of the image
};

/// Waits at most `timeoutMicroseconds` for a frame of the stream, whose buffers hold `bufferSize` bytes,
/// copies its image to the start of `memory` and describes it in `info`. The buffer goes back to the stream
/// whatever became of it. The exposure time is the last known value of the feature `ExposureTime`; without
/// that feature the field is left alone.
FrameResult takeFrame(ArvStream* stream, std::uint64_t timeoutMicroseconds, std::uint64_t bufferSize,
                      std::span<std::uint8_t> memory, NodeMap& nodes, FrameInfo& info);

}  // namespace vireo::genicam

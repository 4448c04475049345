// SPDX-License-Identifier: MIT
#pragma once

#include <arv.h>

/// Filled buffers that circulate in memory: while it lives, popping from any stream takes the next of them
/// and pushing puts it back, through the same kind of queue as the camera library's own, without a camera's
/// pace.
class MemoryFrames {
 public:
  /// Ten frames of `width` times `height` pixels Mono8, filled by the simulated camera.
  MemoryFrames(unsigned width, unsigned height);
  ~MemoryFrames();
  MemoryFrames(const MemoryFrames&) = delete;
  MemoryFrames& operator=(const MemoryFrames&) = delete;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "camera/camera.h"

namespace vireo::host {

/// A camera's pixel format: its name, and the PFNC code that the camera's description gives for the name.
struct PixelFormat {
  std::string name;
  std::optional<std::int64_t> code;

  /// Bits that a pixel takes; 0 when that cannot be known.
  unsigned BitsPerPixel() const;
  /// Bytes of a frame's image, lines without padding; 0 when that cannot be known.
  std::size_t ImageBytes(const common::FrameInfo& info) const;
};

/// The format that the camera sends at present; Mono8 for a camera that does not say.
PixelFormat PixelFormatOf(Camera& camera);

}  // namespace vireo::host

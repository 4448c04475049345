// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "simulator/model/bytes.h"

namespace vireo::simulator {

/// Bits of a pixel, which every format's code states.
constexpr std::uint32_t BitsPerPixel(std::uint32_t pixelFormat) {
  return pixelFormat >> 16 & 0xff;
}

/// What a picture is made of.
struct PictureSettings {
  std::uint32_t width = 0;  // pixels
  std::uint32_t height = 0;
  std::uint32_t offsetX = 0;
  std::uint32_t offsetY = 0;
  std::uint32_t pixelFormat = 0;  // a code of the pixel format naming convention
  double brightness = 1.0;        // factor on every level, which is clipped

  std::size_t ImageSize() const { return std::size_t{width} * height * BitsPerPixel(pixelFormat) / 8; }
};

/// Whether pictures of this format can be made.
bool IsSupported(std::uint32_t pixelFormat);

/// Fills `image` with diagonal stripes that move by one pixel a frame: the level of a grey pixel is
/// x + y + frame number, modulo 256, times the brightness, x and y counted from the sensor's corner; 16 bits
/// hold 256 times that. Colours are a third of the stripes' width apart.
///
/// A line of pixels that is long enough to begin at any of the 256 phases is made once; every line of the
/// picture is a copy out of it. A colour mosaic needs one such line for even and odd rows, and one each for
/// phases that begin at an even or odd pixel, since the mosaic stays where it is while the stripes move.
void FillPicture(const PictureSettings& settings, std::uint64_t frameNumber, Bytes& image);

}  // namespace vireo::simulator

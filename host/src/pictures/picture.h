// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "pictures/frame.h"
#include "pictures/layout.h"

namespace vireo::host {

/// A picture with 1 (grey), 3 (red, green, blue) or 4 (and alpha) samples a pixel, by rows from the top.
struct Picture {
  std::size_t width = 0;  ///< pixels
  std::size_t height = 0;
  unsigned channels = 1;
  unsigned bits = 8;                   ///< significant bits of a sample, 1 to 16
  std::vector<std::uint16_t> samples;  ///< the camera's own numbers, 0 to 2^bits - 1
};

/// The samples of a frame as the sensor sent them: a Bayer frame stays a mosaic of one channel, BGR becomes
/// RGB. Throws std::runtime_error when `bytes` are fewer than the picture needs; more are ignored.
Picture Unpack(const PixelLayout& layout, std::size_t width, std::size_t height,
               std::span<const std::uint8_t> bytes);

/// The picture that a person expects of a frame: `Unpack`, and colour from a Bayer mosaic.
Picture Develop(const PixelLayout& layout, const Frame& frame);

/// Colour by bilinear interpolation: a pixel's two missing colours are the means of the nearest samples of
/// that colour, fewer at the border.
Picture Demosaic(const Picture& mosaic, BayerOrder order);

}  // namespace vireo::host

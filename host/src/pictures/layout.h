// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "camera/pixel_format.h"

namespace vireo::host {

/// What the samples of a pixel mean.
enum class PixelKind { Mono, Bayer, Rgb, Bgr, Rgba, Bgra };

/// Colours of the upper left four pixels of a Bayer sensor, by rows.
enum class BayerOrder { GR, RG, GB, BG };

/// How the samples lie in memory.
enum class Packing {
  Bytes,         ///< one byte a sample
  Words,         ///< two bytes a sample, low byte first, the value in the low bits
  LsbFirst,      ///< without gaps, low bits first: the formats whose names end in p
  GigEVision10,  ///< two samples in three bytes: the formats whose names end in 10Packed
  GigEVision12,  ///< the same for 12Packed
};

/// How the bytes of a frame become samples.
struct PixelLayout {
  PixelKind kind = PixelKind::Mono;
  BayerOrder bayer = BayerOrder::RG;
  Packing packing = Packing::Bytes;
  unsigned bits = 8;  ///< significant bits of a sample

  unsigned SamplesPerPixel() const;
  /// Bytes of an image of that many pixels, lines without padding.
  std::size_t ImageBytes(std::size_t pixels) const;
};

/// The layout of a PFNC pixel format such as BayerRG12p; none for formats that are not a plain picture of up
/// to 16 bits a sample (YUV, floats, planar). Where the name follows no rule, as CustomBayerRG14 or
/// RGB8Packed, the bits of the code tell, together with what can be made out in the name.
std::optional<PixelLayout> LayoutOf(const PixelFormat& format);

}  // namespace vireo::host

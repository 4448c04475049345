// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

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

/// The layout of a PFNC pixel format name such as BayerRG12p; none for formats that are no plain picture of
/// up to 16 bits a sample (YUV, 3D, planar).
std::optional<PixelLayout> LayoutOf(const std::string& pixelFormat);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "pictures/picture.h"

#include <fmt/format.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace vireo::host {
namespace {

using Samples = std::span<std::uint16_t>;
using Bytes = std::span<const std::uint8_t>;

void unpackWords(Bytes bytes, Samples samples, unsigned bits) {
  const unsigned mask = (1u << bits) - 1;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const unsigned word = bytes[2 * i] | static_cast<unsigned>(bytes[2 * i + 1]) << 8;
    samples[i] = static_cast<std::uint16_t>(word & mask);
  }
}

void unpackLsbFirst(Bytes bytes, Samples samples, unsigned bits) {
  const unsigned mask = (1u << bits) - 1;
  std::uint32_t pending = 0;
  unsigned pendingBits = 0;
  std::size_t next = 0;
  for (std::uint16_t& sample : samples) {
    while (pendingBits < bits) {
      pending |= static_cast<std::uint32_t>(bytes[next++]) << pendingBits;
      pendingBits += 8;
    }
    sample = static_cast<std::uint16_t>(pending & mask);
    pending >>= bits;
    pendingBits -= bits;
  }
}

// Two samples in three bytes: the high bits of each in a byte of its own, the low bits of both in the middle
// one, those of the second sample from bit 4 on.
void unpackGigEVision(Bytes bytes, Samples samples, unsigned bits) {
  const unsigned lowBits = bits - 8;
  const unsigned mask = (1u << lowBits) - 1;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::size_t group = i / 2 * 3;
    const bool second = i % 2 == 1;
    const unsigned high = bytes[group + (second ? 2 : 0)];
    const unsigned low = bytes[group + 1] >> (second ? 4 : 0) & mask;
    samples[i] = static_cast<std::uint16_t>(high << lowBits | low);
  }
}

void swapRedAndBlue(Picture& picture) {
  for (std::size_t i = 0; i < picture.samples.size(); i += picture.channels) {
    std::swap(picture.samples[i], picture.samples[i + 2]);
  }
}

enum Colour : unsigned { Red = 0, Green = 1, Blue = 2 };

Colour colourAt(BayerOrder order, std::size_t x, std::size_t y) {
  constexpr std::array<std::array<Colour, 4>, 4> tiles = {{
      {Green, Red, Blue, Green},  // GR
      {Red, Green, Green, Blue},  // RG
      {Green, Blue, Red, Green},  // GB
      {Blue, Green, Green, Red},  // BG
  }};
  return tiles[static_cast<std::size_t>(order)][(y % 2) * 2 + x % 2];
}

// Means of the samples of each colour in the three by three pixels around (x, y); the pixel's own colour is
// its own sample.
std::array<std::uint16_t, 3> colourOf(const Picture& mosaic, BayerOrder order, std::size_t x, std::size_t y) {
  std::array<unsigned, 3> sums{};
  std::array<unsigned, 3> counts{};
  const std::size_t lastX = std::min(x + 1, mosaic.width - 1);
  const std::size_t lastY = std::min(y + 1, mosaic.height - 1);
  for (std::size_t j = y == 0 ? 0 : y - 1; j <= lastY; ++j) {
    for (std::size_t i = x == 0 ? 0 : x - 1; i <= lastX; ++i) {
      const Colour colour = colourAt(order, i, j);
      sums[colour] += mosaic.samples[j * mosaic.width + i];
      ++counts[colour];
    }
  }
  const Colour own = colourAt(order, x, y);
  sums[own] = mosaic.samples[y * mosaic.width + x];
  counts[own] = 1;
  std::array<std::uint16_t, 3> rgb{};
  for (std::size_t c = 0; c < rgb.size(); ++c) {
    if (counts[c] != 0) rgb[c] = static_cast<std::uint16_t>((sums[c] + counts[c] / 2) / counts[c]);
  }
  return rgb;
}

}  // namespace

Picture Unpack(const PixelLayout& layout, std::size_t width, std::size_t height, Bytes bytes) {
  const std::size_t needed = layout.ImageBytes(width * height);
  if (bytes.size() < needed) {
    throw std::runtime_error(fmt::format("a frame of {} x {} pixels needs {} bytes, the camera sent {}",
                                         width, height, needed, bytes.size()));
  }
  Picture picture{width, height, layout.SamplesPerPixel(), layout.bits, {}};
  picture.samples.resize(width * height * picture.channels);
  switch (layout.packing) {
    case Packing::Bytes:
      for (std::size_t i = 0; i < picture.samples.size(); ++i) picture.samples[i] = bytes[i];
      break;
    case Packing::Words:
      unpackWords(bytes, picture.samples, layout.bits);
      break;
    case Packing::LsbFirst:
      unpackLsbFirst(bytes, picture.samples, layout.bits);
      break;
    case Packing::GigEVision10:
    case Packing::GigEVision12:
      unpackGigEVision(bytes, picture.samples, layout.bits);
      break;
  }
  if (layout.kind == PixelKind::Bgr || layout.kind == PixelKind::Bgra) swapRedAndBlue(picture);
  return picture;
}

Picture Demosaic(const Picture& mosaic, BayerOrder order) {
  Picture colour{mosaic.width, mosaic.height, 3, mosaic.bits, {}};
  colour.samples.resize(mosaic.samples.size() * 3);
  std::size_t next = 0;
  for (std::size_t y = 0; y < mosaic.height; ++y) {
    for (std::size_t x = 0; x < mosaic.width; ++x) {
      for (const std::uint16_t sample : colourOf(mosaic, order, x, y)) colour.samples[next++] = sample;
    }
  }
  return colour;
}

Picture Develop(const PixelLayout& layout, const Frame& frame) {
  Picture picture = Unpack(layout, static_cast<std::size_t>(frame.info.width),
                           static_cast<std::size_t>(frame.info.height), frame.Bytes());
  return layout.kind == PixelKind::Bayer ? Demosaic(picture, layout.bayer) : picture;
}

}  // namespace vireo::host

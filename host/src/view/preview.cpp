// SPDX-License-Identifier: MIT
#include "preview.h"

#include <algorithm>

namespace vireo::host {
namespace {

std::uint16_t toByte(std::uint16_t sample, unsigned bits) {
  return static_cast<std::uint16_t>(bits > 8 ? sample >> (bits - 8) : sample << (8 - bits));
}

}  // namespace

Picture Preview(const Picture& picture, std::size_t widest) {
  const std::size_t step = std::max<std::size_t>((picture.width + widest - 1) / widest, 1);
  Picture small{
      (picture.width + step - 1) / step, (picture.height + step - 1) / step, picture.channels, 8, {}};
  small.samples.reserve(small.width * small.height * small.channels);
  for (std::size_t y = 0; y < picture.height; y += step) {
    for (std::size_t x = 0; x < picture.width; x += step) {
      const std::size_t first = (y * picture.width + x) * picture.channels;
      for (std::size_t c = 0; c < picture.channels; ++c) {
        small.samples.push_back(toByte(picture.samples[first + c], picture.bits));
      }
    }
  }
  return small;
}

std::array<std::uint64_t, 256> Histogram(const Picture& picture) {
  std::array<std::uint64_t, 256> counts{};
  for (const std::uint16_t sample : picture.samples) ++counts[toByte(sample, picture.bits) & 0xff];
  return counts;
}

}  // namespace vireo::host

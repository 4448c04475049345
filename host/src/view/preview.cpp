// SPDX-License-Identifier: MIT
#include "view/preview.h"

#include <algorithm>

namespace vireo::host {
namespace {

std::uint16_t toByte(std::uint16_t sample, unsigned bits) {
  return static_cast<std::uint16_t>(bits > 8 ? sample >> (bits - 8) : sample << (8 - bits));
}

// Pixels of a picture for one of its preview, in a row and in a column.
std::size_t stepOf(const Picture& picture, std::size_t widest) {
  return std::max<std::size_t>((picture.width + widest - 1) / widest, 1);
}

}  // namespace

Picture Preview(const Picture& picture, std::size_t widest) {
  const std::size_t step = stepOf(picture, widest);
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

Picture MarkSaturated(const Picture& preview, const Picture& picture, std::size_t widest) {
  const std::size_t step = stepOf(picture, widest);
  const unsigned highest = (1u << picture.bits) - 1;
  std::vector<bool> saturated(preview.width * preview.height);
  for (std::size_t i = 0; i < picture.samples.size(); ++i) {
    if (picture.samples[i] < highest) continue;
    const std::size_t pixel = i / picture.channels;
    saturated[pixel / picture.width / step * preview.width + pixel % picture.width / step] = true;
  }
  Picture marked{preview.width, preview.height, 3, 8, {}};
  marked.samples.reserve(saturated.size() * 3);
  for (std::size_t i = 0; i < saturated.size(); ++i) {
    for (std::size_t c = 0; c < 3; ++c) {
      const std::uint16_t own = preview.samples[i * preview.channels + (preview.channels == 1 ? 0 : c)];
      marked.samples.push_back(saturated[i] ? (c == 0 ? 255 : 0) : own);
    }
  }
  return marked;
}

std::array<std::uint64_t, 256> Histogram(const Picture& picture) {
  std::array<std::uint64_t, 256> counts{};
  for (const std::uint16_t sample : picture.samples) ++counts[toByte(sample, picture.bits) & 0xff];
  return counts;
}

}  // namespace vireo::host

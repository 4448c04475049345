// SPDX-License-Identifier: MIT
#include "camera/pixel_format.h"

#include <variant>

namespace vireo::host {

// The highest byte of a code tells one sample a pixel (1) from several (2), and has a bit for makers' own
// formats; the next byte has the bits of a pixel.
unsigned PixelFormat::BitsPerPixel() const {
  if (!code) return 0;
  const std::int64_t kind = *code >> 24 & 0x7f;
  return kind == 1 || kind == 2 ? static_cast<unsigned>(*code >> 16 & 0xff) : 0;
}

std::size_t PixelFormat::ImageBytes(const common::FrameInfo& info) const {
  const auto pixels = static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height);
  return (pixels * BitsPerPixel() + 7) / 8;
}

PixelFormat PixelFormatOf(Camera& camera) {
  PixelFormat format{camera.ValueOr("PixelFormat", "Mono8"), {}};
  if (format.name.empty()) format.name = "unnamed";  // its register holds none of its entries
  const auto node = camera.Nodes().find("PixelFormat");
  if (node == camera.Nodes().end()) return format;
  const auto* const formats = std::get_if<genicam::EnumerationNode>(&node->second);
  if (formats == nullptr) return format;
  const auto entry = formats->entryValues.find(format.name);
  if (entry != formats->entryValues.end()) format.code = entry->second;
  return format;
}

}  // namespace vireo::host

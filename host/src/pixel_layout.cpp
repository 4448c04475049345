// SPDX-License-Identifier: MIT
#include "pixel_layout.h"

#include <array>
#include <charconv>
#include <string_view>

namespace vireo::host {
namespace {

struct Prefix {
  std::string_view name;
  PixelKind kind;
  BayerOrder bayer;
};

// Longer names first: RGBa12 begins with RGB, too.
constexpr std::array prefixes = {
    Prefix{"Mono", PixelKind::Mono, BayerOrder::RG},     Prefix{"BayerGR", PixelKind::Bayer, BayerOrder::GR},
    Prefix{"BayerRG", PixelKind::Bayer, BayerOrder::RG}, Prefix{"BayerGB", PixelKind::Bayer, BayerOrder::GB},
    Prefix{"BayerBG", PixelKind::Bayer, BayerOrder::BG}, Prefix{"RGBa", PixelKind::Rgba, BayerOrder::RG},
    Prefix{"RGB", PixelKind::Rgb, BayerOrder::RG},       Prefix{"BGRa", PixelKind::Bgra, BayerOrder::RG},
    Prefix{"BGR", PixelKind::Bgr, BayerOrder::RG},
};

std::optional<Packing> packingOf(std::string_view suffix, unsigned bits, PixelKind kind) {
  if (suffix.empty()) {
    if (bits == 8) return Packing::Bytes;
    return bits > 8 && bits <= 16 ? std::optional(Packing::Words) : std::nullopt;
  }
  if (suffix == "p" && bits <= 16) return Packing::LsbFirst;
  const bool oneSample = kind == PixelKind::Mono || kind == PixelKind::Bayer;
  if (suffix == "Packed" && oneSample && bits == 10) return Packing::GigEVision10;
  if (suffix == "Packed" && oneSample && bits == 12) return Packing::GigEVision12;
  return std::nullopt;
}

}  // namespace

unsigned PixelLayout::SamplesPerPixel() const {
  switch (kind) {
    case PixelKind::Mono:
    case PixelKind::Bayer:
      return 1;
    case PixelKind::Rgb:
    case PixelKind::Bgr:
      return 3;
    case PixelKind::Rgba:
    case PixelKind::Bgra:
      return 4;
  }
  return 1;
}

std::size_t PixelLayout::ImageBytes(std::size_t pixels) const {
  const std::size_t samples = pixels * SamplesPerPixel();
  switch (packing) {
    case Packing::Bytes:
      return samples;
    case Packing::Words:
      return samples * 2;
    case Packing::LsbFirst:
      return (samples * bits + 7) / 8;
    case Packing::GigEVision10:
    case Packing::GigEVision12:
      return (samples * 12 + 7) / 8;
  }
  return samples;
}

std::optional<PixelLayout> LayoutOf(const std::string& pixelFormat) {
  for (const Prefix& prefix : prefixes) {
    if (!pixelFormat.starts_with(prefix.name)) continue;
    const std::string_view rest = std::string_view(pixelFormat).substr(prefix.name.size());
    unsigned bits = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), bits);
    if (error != std::errc() || bits == 0) return std::nullopt;
    const std::string_view suffix(end, static_cast<std::size_t>(rest.data() + rest.size() - end));
    const std::optional<Packing> packing = packingOf(suffix, bits, prefix.kind);
    if (!packing) return std::nullopt;
    return PixelLayout{prefix.kind, prefix.bayer, *packing, bits};
  }
  return std::nullopt;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "pictures/layout.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "terminal/numbers.h"

namespace vireo::host {
namespace {

struct Prefix {
  std::string_view name;
  PixelKind kind = PixelKind::Mono;
  BayerOrder bayer = BayerOrder::RG;
};

// Longer names first: RGBa12 begins with RGB, too. RGBA and BGRA are older spellings.
constexpr std::array prefixes = {
    Prefix{"Mono", PixelKind::Mono, BayerOrder::RG},     Prefix{"BayerGR", PixelKind::Bayer, BayerOrder::GR},
    Prefix{"BayerRG", PixelKind::Bayer, BayerOrder::RG}, Prefix{"BayerGB", PixelKind::Bayer, BayerOrder::GB},
    Prefix{"BayerBG", PixelKind::Bayer, BayerOrder::BG}, Prefix{"RGBa", PixelKind::Rgba, BayerOrder::RG},
    Prefix{"RGBA", PixelKind::Rgba, BayerOrder::RG},     Prefix{"RGB", PixelKind::Rgb, BayerOrder::RG},
    Prefix{"BGRa", PixelKind::Bgra, BayerOrder::RG},     Prefix{"BGRA", PixelKind::Bgra, BayerOrder::RG},
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

std::optional<PixelLayout> layoutOfName(std::string_view name) {
  for (const Prefix& prefix : prefixes) {
    if (!name.starts_with(prefix.name)) continue;
    std::string_view suffix = name.substr(prefix.name.size());
    const unsigned bits = TakeNumber<unsigned>(suffix).value_or(0);
    if (bits == 0) return std::nullopt;
    const std::optional<Packing> packing = packingOf(suffix, bits, prefix.kind);
    if (!packing) return std::nullopt;
    return PixelLayout{prefix.kind, prefix.bayer, *packing, bits};
  }
  return std::nullopt;
}

// What can be made out in a name that follows no rule.
struct NameHints {
  Prefix prefix;
  unsigned bits = 0;  // the number behind the kind; 0 for none
  bool isPacked = false;
  bool isPicture = true;  // no floats, signed or planar samples
};

NameHints hintsOf(std::string_view name) {
  const auto occursInName = [&](const Prefix& prefix) {
    return name.find(prefix.name) != std::string_view::npos;
  };
  const auto* const prefix = std::find_if(prefixes.begin(), prefixes.end(), occursInName);
  if (prefix == prefixes.end()) return {};
  std::string_view rest = name.substr(name.find(prefix->name) + prefix->name.size());
  rest.remove_prefix(std::min(rest.find_first_of("0123456789"), rest.size()));
  NameHints hints{*prefix, TakeNumber<unsigned>(rest).value_or(0)};
  hints.isPacked = rest.starts_with("Packed");
  // "lan": planar samples, also where it is spelt Plannar.
  hints.isPicture =
      !rest.starts_with('s') && !rest.starts_with('f') && rest.find("lan") == std::string_view::npos;
  return hints;
}

std::optional<Packing> packingOf(unsigned storedBits, unsigned bits, const NameHints& hints) {
  if (storedBits == 8 && bits == 8) return Packing::Bytes;
  if (storedBits == 16) return Packing::Words;
  if (hints.isPacked && storedBits == 12 && bits == 10) return Packing::GigEVision10;
  if (hints.isPacked && storedBits == 12 && bits == 12) return Packing::GigEVision12;
  return storedBits < 16 && bits == storedBits ? std::optional(Packing::LsbFirst) : std::nullopt;
}

// A code says whether a pixel is one sample (a 1 in its first byte) and how many bits it takes (the second).
std::optional<PixelLayout> layoutOfCode(std::int64_t code, const NameHints& hints) {
  const bool isOneSample = (code >> 24 & 0x7f) == 1;
  const auto pixelBits = static_cast<unsigned>(code >> 16 & 0xff);
  PixelLayout layout{hints.prefix.kind, hints.prefix.bayer};
  const unsigned samples = layout.SamplesPerPixel();
  if (!hints.isPicture || isOneSample != (samples == 1) || pixelBits % samples != 0) return std::nullopt;
  const unsigned storedBits = pixelBits / samples;
  layout.bits = hints.bits == 0 ? storedBits : hints.bits;
  const std::optional<Packing> packing = packingOf(storedBits, layout.bits, hints);
  if (!packing || layout.bits == 0 || layout.bits > storedBits) return std::nullopt;
  layout.packing = *packing;
  return layout;
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

std::optional<PixelLayout> LayoutOf(const PixelFormat& format) {
  const std::optional<PixelLayout> layout = layoutOfName(format.name);
  return layout || !format.code ? layout : layoutOfCode(*format.code, hintsOf(format.name));
}

}  // namespace vireo::host

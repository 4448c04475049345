// SPDX-License-Identifier: MIT
#include "vireo/genicam/pixel_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

namespace vireo::genicam {
namespace {

using Bits = std::uint32_t;

// What a name starts with, and how many components a pixel then has.
struct Family {
  std::string_view prefix;
  Bits components;
};

// Longer prefixes first where one begins another. RGBA and BGRA are the older spelling of RGBa and BGRa.
constexpr std::array families = {
    Family{"Mono", 1},      Family{"BayerGR", 1}, Family{"BayerRG", 1},    Family{"BayerGB", 1},
    Family{"BayerBG", 1},   Family{"RGBa", 4},    Family{"BGRa", 4},       Family{"RGBA", 4},
    Family{"BGRA", 4},      Family{"RGB", 3},     Family{"BGR", 3},        Family{"R", 1},
    Family{"G", 1},         Family{"B", 1},       Family{"Confidence", 1}, Family{"Data", 1},
    Family{"Polarized", 1},
};

// Names of the first GigE Vision standards whose padding no rule of theirs tells.
struct Exception {
  std::string_view name;
  Bits bits;
};
constexpr std::array exceptions = {
    Exception{"RGB10V1Packed", 32}, Exception{"RGB10V2Packed", 32}, Exception{"BGR10V1Packed", 32},
    Exception{"BGR10V2Packed", 32}, Exception{"RGB12V1Packed", 36}, Exception{"BGR12V1Packed", 36},
};

bool skip(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

Bits skipLetters(std::string_view& text) {
  const auto isLetter = [](char c) { return c >= 'A' && c <= 'Z'; };
  const auto end = std::find_if_not(text.begin(), text.end(), isLetter);
  const auto count = static_cast<std::size_t>(end - text.begin());
  text.remove_prefix(count);
  return static_cast<Bits>(count);
}

// A number of at most four digits; the sizes in a name have no more.
std::optional<Bits> skipNumber(std::string_view& text) {
  Bits number = 0;
  const char* const end = text.data() + std::min<std::size_t>(text.size(), 4);
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
  return number;
}

// Bits of a component or of the word that holds some.
std::optional<Bits> skipBits(std::string_view& text) {
  const std::optional<Bits> bits = skipNumber(text);
  return bits && *bits >= 1 && *bits <= 64 ? bits : std::nullopt;
}

// The order of components that may end a name: _Planar, _CbYCrY, _YY_CbCr_Semiplanar.
bool isOrder(std::string_view text) {
  const auto fits = [](char c) { return c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  return text.empty() || (text.front() == '_' && std::all_of(text.begin(), text.end(), fits));
}

constexpr Bits wholeBytes(Bits bits) {
  return (bits + 7) / 8 * 8;
}

// The share of luma and chroma samples, in eighths of a sample a pixel.
std::optional<Bits> eighthsOfSubsampling(Bits tag) {
  switch (tag) {
    case 444:
      return 24;
    case 422:
    case 440:
      return 16;
    case 411:
    case 420:
      return 12;
    case 410:
      return 9;
    default:
      return std::nullopt;
  }
}

// The older names: one component of 10 or 12 bits shares three bytes with its neighbour, below 8 bits pixels
// share a byte, several components take whole bytes each.
Bits packedBits(Bits components, Bits bits) {
  if (components > 1) return components * wholeBytes(bits);
  return bits == 10 ? 12 : bits;
}

// A word of its own, such as Polarized: a capital and small letters.
bool skipWord(std::string_view& text) {
  const auto isSmall = [](char c) { return c >= 'a' && c <= 'z'; };
  if (text.size() < 2 || text[0] < 'A' || text[0] > 'Z' || !isSmall(text[1])) return false;
  const auto end = std::find_if_not(text.begin() + 1, text.end(), isSmall);
  text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
  return true;
}

// What follows the bits of a component says how they are stored: p and pmsb without gaps, p32 and a32 in one
// aligned word, c3a32 three components in one word, otherwise whole bytes a component.
std::optional<Bits> storedBits(Bits components, Bits bits, std::string_view storage) {
  skip(storage, "s") || skip(storage, "f");
  const std::string_view packing = storage.substr(0, storage.find('_'));
  if (!isOrder(storage.substr(packing.size()))) return std::nullopt;
  if (packing == "p" || packing == "P" || packing == "pmsb") return components * bits;
  if (packing == "Packed") return packedBits(components, bits);
  // Planar, Signed, and words of makers' own or misspelt, such as Plannar.
  std::string_view words = packing;
  while (skipWord(words)) continue;
  if (words.empty()) return components * wholeBytes(bits);
  std::string_view rest = packing;
  std::optional<Bits> shared = components;
  if (skip(rest, "c")) {
    shared = skipBits(rest);
    if (!shared || !skip(rest, "a")) return std::nullopt;
  } else if (!skip(rest, "p") && !skip(rest, "a")) {
    return std::nullopt;
  }
  const std::optional<Bits> word = skipBits(rest);
  if (!word || !rest.empty()) return std::nullopt;
  return (components * *word + *shared - 1) / *shared;
}

// The older names leave out the eight bits: YUV422Packed, YUV422_YUYV_Packed.
bool isOlderLumaChroma(std::string_view afterSubsampling) {
  std::string_view rest = afterSubsampling;
  return rest.empty() || rest.ends_with("_Packed") || (skip(rest, "Packed") && isOrder(rest));
}

// YUV and YCbCr: an optional colour space (601, 709, 2020), an optional subsampling, then the bits.
std::optional<Bits> lumaChromaBits(std::string_view rest) {
  for (const char* const space : {"601", "709", "2020"}) skip(rest, space) && skip(rest, "_");
  std::string_view afterTag = rest;
  const std::optional<Bits> eighths = eighthsOfSubsampling(skipNumber(afterTag).value_or(0));
  if (eighths) {
    rest = afterTag;
    if (isOlderLumaChroma(rest)) return *eighths;
    skip(rest, "_");
  }
  const std::optional<Bits> bits = skipBits(rest);
  const std::optional<Bits> sample = bits ? storedBits(1, *bits, rest) : std::nullopt;
  if (!sample) return std::nullopt;
  return (eighths.value_or(24) * *sample + 7) / 8;
}

std::optional<Bits> colourBits(std::string_view name) {
  for (const Family& family : families) {
    std::string_view rest = name;
    if (!skip(rest, family.prefix)) continue;
    // One digit a component: the whole pixel fills 16 bits.
    if (family.components == 3 && (skip(rest, "565") || skip(rest, "555"))) return storedBits(1, 16, rest);
    while (skipWord(rest)) continue;  // BayerRGPolarized12p
    if (const std::optional<Bits> bits = skipBits(rest)) return storedBits(family.components, *bits, rest);
  }
  return std::nullopt;
}

std::optional<Bits> bitsPerPixel(std::string_view name) {
  for (const Exception& exception : exceptions) {
    if (name == exception.name) return exception.bits;
  }
  std::string_view rest = name;
  for (const char* const order : {"YUYV", "UYVY", "YVYU", "VYUY"}) {
    if (skip(rest, order)) return isOlderLumaChroma(rest) ? std::optional<Bits>(16) : std::nullopt;
  }
  if (skip(rest, "YUV") || skip(rest, "YCbCr") || skip(rest, "YCBCR")) return lumaChromaBits(rest);
  Bits components = 0;
  if (skip(rest, "BiColor")) {
    skipLetters(rest);  // the pattern of four letters covers two pixels
    components = 2;
  } else if (skip(rest, "SCF1")) {
    skipLetters(rest);
    components = 1;
  } else if (skip(rest, "Coord3D_")) {
    components = skipLetters(rest);
  } else {
    return colourBits(name);
  }
  const std::optional<Bits> bits = skipBits(rest);
  if (!bits) return std::nullopt;
  return storedBits(components, *bits, rest);
}

// A name behind a maker's prefix: CustomBayerRG14.
std::optional<Bits> bitsBehindPrefix(std::string_view name) {
  constexpr std::size_t longestName = 100;
  if (name.size() > longestName) return std::nullopt;
  for (const char* const start :
       {"Mono", "Bayer", "Polarized", "BiColor", "Coord3D_", "RGB", "BGR", "YUV", "YCbCr"}) {
    const std::size_t at = name.find(start, 1);
    if (at == std::string_view::npos) continue;
    if (const std::optional<Bits> bits = bitsPerPixel(name.substr(at))) return bits;
  }
  return std::nullopt;
}

}  // namespace

std::uint32_t bytesPerPixel(const std::string& pixelFormat) {
  std::optional<Bits> known = bitsPerPixel(pixelFormat);
  if (!known) known = bitsBehindPrefix(pixelFormat);
  const Bits bits = known.value_or(8);
  return std::max<std::uint32_t>(1, (bits + 7) / 8);
}

}  // namespace vireo::genicam

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
constexpr std::array kFamilies = {
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
constexpr std::array kExceptions = {
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

// What follows the bits of a component says how they are stored: p and pmsb without gaps, p32 and a32 in one
// aligned word, c3a32 three components in one word, otherwise whole bytes a component.
std::optional<Bits> storedBits(Bits components, Bits bits, std::string_view storage) {
  skip(storage, "s") || skip(storage, "f");
  const std::string_view packing = storage.substr(0, storage.find('_'));
  if (packing.empty() || packing == "Planar" || packing == "Signed") return components * wholeBytes(bits);
  if (packing == "p" || packing == "pmsb") return components * bits;
  if (packing == "Packed") return packedBits(components, bits);
  std::string_view word = packing;
  if (skip(word, "p") || skip(word, "a")) return skipNumber(word);
  if (!skip(word, "c")) return std::nullopt;
  const std::optional<Bits> shared = skipNumber(word);
  if (!shared || *shared == 0 || !skip(word, "a")) return std::nullopt;
  const std::optional<Bits> wordBits = skipNumber(word);
  if (!wordBits) return std::nullopt;
  return (components * *wordBits + *shared - 1) / *shared;
}

// YUV and YCbCr: an optional colour space (601, 709, 2020), an optional subsampling, then the bits.
std::optional<Bits> lumaChromaBits(std::string_view rest) {
  std::optional<Bits> number = skipNumber(rest);
  if (number == 601u || number == 709u || number == 2020u) {
    skip(rest, "_");
    number = skipNumber(rest);
  }
  Bits eighths = 24;
  if (number) {
    if (const std::optional<Bits> share = eighthsOfSubsampling(*number)) {
      eighths = *share;
      skip(rest, "_");
      number = skipNumber(rest);
    }
  }
  // The older names (YUV422Packed, YUV422_YUYV_Packed) leave out the eight bits.
  const bool eightBits = !number || rest.starts_with("Packed");
  const std::optional<Bits> sample = eightBits ? 8 : storedBits(1, *number, rest);
  if (!sample) return std::nullopt;
  return (eighths * *sample + 7) / 8;
}

std::optional<Bits> colourBits(std::string_view name) {
  for (const Family& family : kFamilies) {
    std::string_view rest = name;
    if (!skip(rest, family.prefix)) continue;
    const std::optional<Bits> bits = skipNumber(rest);
    if (!bits) continue;
    // One digit a component: the whole pixel fills 16 bits.
    if (family.components == 3 && (*bits == 565 || *bits == 555)) return 16;
    return storedBits(family.components, *bits, rest);
  }
  return std::nullopt;
}

std::optional<Bits> bitsPerPixel(std::string_view name) {
  for (const Exception& exception : kExceptions) {
    if (name == exception.name) return exception.bits;
  }
  std::string_view rest = name;
  if (skip(rest, "YUV") || skip(rest, "YCbCr")) return lumaChromaBits(rest);
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
  const std::optional<Bits> bits = skipNumber(rest);
  if (!bits) return std::nullopt;
  return storedBits(components, *bits, rest);
}

}  // namespace

std::uint32_t bytesPerPixel(const std::string& pixelFormat) {
  const Bits bits = bitsPerPixel(pixelFormat).value_or(8);
  return std::max<std::uint32_t>(1, (bits + 7) / 8);
}

}  // namespace vireo::genicam

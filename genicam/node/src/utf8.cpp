// SPDX-License-Identifier: MIT
#include "utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vireo::genicam {
namespace {

constexpr int maxCharacters = 80;
constexpr std::string_view replacement = "\xEF\xBF\xBD";

// The length of the UTF-8 sequence that `text` begins with; 0 for none, an overlong one or a surrogate.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte(0);
  const std::size_t length = lead < 0x80                   ? 1
                             : lead >= 0xC2 && lead < 0xE0 ? 2
                             : lead >= 0xE0 && lead < 0xF0 ? 3
                             : lead >= 0xF0 && lead < 0xF5 ? 4
                                                           : 0;
  if (length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  if ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F)) return 0;
  if ((lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F)) return 0;
  return length;
}

// Those of ASCII, and U+0080 to U+009F, two bytes each.
bool isControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  if (first < 0x20) return true;
  return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

bool isBreak(char c) {
  return c == '\n' || c == '\t';
}

// Takes the first character off `text`; empty for a byte that begins none, and for a control character.
std::string_view takeCharacter(std::string_view& text) {
  const std::size_t length = sequenceLength(text);
  const std::string_view character = text.substr(0, length);
  text.remove_prefix(std::max<std::size_t>(1, length));
  return character.empty() || isControl(character) ? std::string_view() : character;
}

std::string shown(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const char first = text.front();
    const std::string_view character = takeCharacter(text);
    if (isBreak(first)) {
      shown += first;
    } else {
      shown += character.empty() ? replacement : character;
    }
  }
  return shown;
}

// Nearly all texts are plain ASCII, so eight bytes are looked at together. Where fewer are left, they count
// as none of ASCII's.
constexpr std::size_t wordBytes = sizeof(std::uint64_t);
constexpr std::uint64_t inEachByte = 0x0101010101010101;

std::uint64_t nextEight(std::string_view text) {
  std::uint64_t eight = 0;
  if (text.size() < wordBytes) return inEachByte * 0x80;
  std::memcpy(&eight, text.data(), wordBytes);
  return eight;
}

bool isAscii(std::uint64_t eight) {
  return (eight & inEachByte * 0x80) == 0;
}

// The same of a longer stretch at once.
constexpr std::size_t blockBytes = 8 * wordBytes;

bool isAsciiBlock(std::string_view text) {
  std::uint64_t all = 0;
  if (text.size() < blockBytes) return false;
  for (std::size_t at = 0; at < blockBytes; at += wordBytes) all |= nextEight(text.substr(at));
  return isAscii(all);
}

// A byte above 0x7F or below 0x20 sets the high bit of one of the two; what it carries is never missed.
bool isShownAscii(std::uint64_t eight) {
  return isAscii(eight | (eight - inEachByte * 0x20));
}

// Whether it is ASCII without control characters other than white space.
bool isPlainAscii(std::string_view text) {
  // No early end, so that the compiler makes vector instructions of it. As a signed number, what is not ASCII
  // is below a blank as well.
  signed char odd = 0;
  for (const char c : text) {
    const auto byte = static_cast<signed char>(c);
    odd |= static_cast<signed char>((byte < ' ') & (byte != '\n') & (byte != '\t') & (byte != '\r'));
  }
  return odd == 0;
}

}  // namespace

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = isAsciiBlock(text)         ? blockBytes
                               : isAscii(nextEight(text)) ? wordBytes
                                                          : sequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

bool isPlain(std::string_view text) {
  const auto isShown = [](char c) {
    return (c >= 0x20 && static_cast<unsigned char>(c) < 0x80) || isBreak(c);
  };
  std::string_view rest = text;
  while (isShownAscii(nextEight(rest))) rest.remove_prefix(wordBytes);
  return std::all_of(rest.begin(), rest.end(), isShown) || shown(text) == text;
}

bool isPlainMarkup(std::string_view text) {
  constexpr std::size_t stretch = 512;
  while (!text.empty()) {
    const std::string_view next = text.substr(0, stretch);
    if (isPlainAscii(next)) {
      text.remove_prefix(next.size());
      continue;
    }
    while (text.data() < next.data() + next.size()) {
      const char first = text.front();
      if (takeCharacter(text).empty() && !isBreak(first) && first != '\r') return false;
    }
  }
  return true;
}

std::string plain(std::string_view text) {
  return isPlain(text) ? std::string(text) : shown(text);
}

std::string oneLine(std::string_view text) {
  std::string line;
  for (int count = 0; count < maxCharacters && !text.empty(); ++count) {
    const std::string_view character = takeCharacter(text);
    line += character.empty() ? "?" : character;
  }
  return line;
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#include "one_line.h"

namespace vireo::genicam {
namespace {

constexpr int kMaxCharacters = 80;

bool continues(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Those of ASCII, and U+0080 to U+009F, two bytes each.
bool isControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  if (first < 0x20 || first == 0x7F) return true;
  return first == 0xC2 && character.size() == 2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

}  // namespace

std::string oneLine(std::string_view text) {
  std::string line;
  for (int count = 0; count < kMaxCharacters && !text.empty(); ++count) {
    std::size_t length = 1;
    while (length < text.size() && continues(text[length])) ++length;
    const std::string_view character = text.substr(0, length);
    line += isControl(character) ? "?" : character;
    text.remove_prefix(length);
  }
  return line;
}

}  // namespace vireo::genicam

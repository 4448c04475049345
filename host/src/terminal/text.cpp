// SPDX-License-Identifier: MIT
#include "terminal/text.h"

#include <algorithm>

namespace vireo::host {
namespace {

std::string csvCell(std::string_view text) {
  const std::string shown = WithoutControls(text, "\t\r\n");
  if (shown.find_first_of(",\"\r\n") == std::string::npos) return shown;
  std::string quoted = "\"";
  for (const char c : shown) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

}  // namespace

// U+0080 to U+009F are control characters too, of two bytes each.
std::string WithoutControls(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    const bool wide = byte == 0xc2 && next >= 0x80 && next < 0xa0;
    const bool control =
        wide || byte == 0x7f || (byte < 0x20 && kept.find(text[i]) == std::string_view::npos);
    shown += control ? ' ' : text[i];
    if (wide) ++i;
  }
  return shown;
}

std::string Lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

std::string CsvLine(const std::vector<std::string>& cells) {
  std::string text;
  for (const std::string& cell : cells) {
    if (&cell != &cells.front()) text += ',';
    text += csvCell(cell);
  }
  return text + "\r\n";
}

}  // namespace vireo::host

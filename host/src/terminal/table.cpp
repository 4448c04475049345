// SPDX-License-Identifier: MIT
#include "terminal/table.h"

#include <algorithm>
#include <string_view>

#include "terminal/text.h"

namespace vireo::host {
namespace {

constexpr std::string_view gap = "  ";
constexpr std::size_t narrowest = 6;  // characters that a cut column keeps
constexpr std::size_t readable = 10;  // before columns get narrower than this, expendable ones go
constexpr std::size_t uncut = 60;     // characters of a column where no line has an end

bool startsCharacter(char c) {
  return (static_cast<unsigned char>(c) & 0xc0) != 0x80;  // not a UTF-8 continuation byte
}

std::size_t characters(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), startsCharacter));
}

std::string cut(const std::string& text, std::size_t width) {
  if (characters(text) <= width) return text;
  std::size_t bytes = 0;
  for (std::size_t count = 0; bytes < text.size(); ++bytes) {
    if (startsCharacter(text[bytes]) && count++ == width - 1) break;
  }
  return text.substr(0, bytes) + "…";
}

std::string line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
  std::string text;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (widths[i] == 0) continue;
    const std::string cell = cut(WithoutControls(cells[i]), widths[i]);
    text += cell;
    if (i + 1 < cells.size()) text.append(widths[i] - characters(cell) + gap.size(), ' ');
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text + '\n';
}

}  // namespace

std::vector<std::size_t> TextTable::columnWidths(std::size_t width) const {
  const std::size_t limit = width == 0 ? uncut : width;
  std::vector<std::size_t> widths;
  for (const std::string& title : header_) widths.push_back(characters(title));
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], std::min(limit, characters(row[i])));
  }
  if (width == 0) return widths;
  const auto fits = [&](std::size_t atMost) {
    std::size_t total = widths.front();
    for (std::size_t i = 1; i < widths.size(); ++i) {
      if (widths[i] != 0) total += gap.size() + std::min(widths[i], atMost);
    }
    return total <= width;
  };
  for (const std::string& title : expendable_) {
    if (fits(readable)) break;
    const auto column = std::find(header_.begin(), header_.end(), title);
    if (column != header_.end()) widths[static_cast<std::size_t>(column - header_.begin())] = 0;
  }
  while (widths.size() > 1 && !fits(width)) {
    const auto widest = std::max_element(widths.begin() + 1, widths.end());
    if (*widest <= narrowest) break;
    --*widest;
  }
  return widths;
}

std::string TextTable::Text(std::size_t width) const {
  const std::vector<std::size_t> widths = columnWidths(width);
  std::string text = line(header_, widths);
  for (const auto& row : rows_) text += line(row, widths);
  return text;
}

std::string TextTable::Csv() const {
  std::string text = CsvLine(header_);
  for (const auto& row : rows_) text += CsvLine(row);
  return text;
}

}  // namespace vireo::host

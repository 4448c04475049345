// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vireo::host {

/// Rows of text in aligned columns.
class TextTable {
 public:
  /// `expendable` are titles of columns that a narrow line goes without, the first of them first.
  explicit TextTable(std::vector<std::string> header, std::vector<std::string> expendable = {})
      : header_(std::move(header)), expendable_(std::move(expendable)) {}

  void AddRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

  /// The table in at most `width` characters a line: the widest columns are cut, never the first. With a
  /// width of 0 a line has no end, but a column is cut at 60 characters. Control characters become spaces.
  std::string Text(std::size_t width) const;
  /// The same as comma-separated values, nothing cut.
  std::string Csv() const;

 private:
  std::vector<std::size_t> columnWidths(std::size_t width) const;

  std::vector<std::string> header_;
  std::vector<std::string> expendable_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace vireo::host

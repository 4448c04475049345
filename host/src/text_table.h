// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vireo::host {

/// Rows of text in aligned columns.
class TextTable {
 public:
  /// `expendable`: titles of columns that a narrow line goes without, these first.
  explicit TextTable(std::vector<std::string> header, std::vector<std::string> expendable = {})
      : header_(std::move(header)), expendable_(std::move(expendable)) {}

  void AddRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  bool Empty() const { return rows_.empty(); }

  /// The table in at most `width` characters a line: the widest columns are cut, never the first. 0: as long
  /// as it takes, but no column is wider than people read. A space stands for each control character.
  std::string Text(std::size_t width) const;
  /// The same as comma-separated values (RFC 4180), nothing cut.
  std::string Csv() const;

 private:
  std::vector<std::size_t> columnWidths(std::size_t width) const;

  std::vector<std::string> header_;
  std::vector<std::string> expendable_;
  std::vector<std::vector<std::string>> rows_;
};

/// A space for each control character but those in `kept`: cameras' texts drive no terminal.
std::string WithoutControls(std::string_view text, std::string_view kept = {});

/// A cell of comma-separated values, quoted where it must be.
std::string CsvCell(std::string_view text);

}  // namespace vireo::host

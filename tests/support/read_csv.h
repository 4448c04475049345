// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/read_text.h"

/// The cells of a file of comma-separated values without quotes.
inline std::vector<std::vector<std::string>> readCsv(const std::filesystem::path& path) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(readText(path));
  for (std::string line; std::getline(lines, line);) {
    rows.emplace_back();
    std::istringstream cells(line.substr(0, line.find('\r')));
    for (std::string cell; std::getline(cells, cell, ',');) rows.back().push_back(cell);
  }
  return rows;
}

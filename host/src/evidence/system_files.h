// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "terminal/numbers.h"

namespace vireo::host {

/// The files in which the kernel tells about itself, below a root folder that is another one in tests.
class SystemFiles {
 public:
  explicit SystemFiles(std::filesystem::path root = "/") : root_(std::move(root)) {}

  /// The file without blanks at its end; empty when it cannot be read, as for a speed that nobody knows.
  std::string Text(const std::string& path) const;
  /// The entries of a folder, sorted; none when it cannot be read.
  std::vector<std::string> Names(const std::string& path) const;
  std::filesystem::path Path(const std::string& path) const { return root_ / path; }

  template <typename Number>
  std::optional<Number> NumberIn(const std::string& path) const {
    return NumberFrom<Number>(Text(path));
  }

 private:
  std::filesystem::path root_;
};

/// The words of a line.
std::vector<std::string> WordsOf(const std::string& line);
/// The lines of a text.
std::vector<std::string> LinesOf(const std::string& text);

}  // namespace vireo::host

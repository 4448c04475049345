// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <vector>

namespace vireo::host {

/// A directory that one program at a time fills. It is made where it is missing, and what was made goes again
/// when it is still empty at the end.
class OutputDirectory {
 public:
  /// Throws Failure when it cannot be made, or another program has it.
  explicit OutputDirectory(const std::filesystem::path& path);
  OutputDirectory(const OutputDirectory&) = delete;
  OutputDirectory& operator=(const OutputDirectory&) = delete;
  ~OutputDirectory();

 private:
  void make(const std::filesystem::path& path);

  std::vector<std::filesystem::path> made_;  // outer ones first
  int descriptor_ = -1;
};

}  // namespace vireo::host

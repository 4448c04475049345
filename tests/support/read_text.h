// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

inline std::string readText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The files of a folder that end so; none where it is not a folder.
inline std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder, const char* ending) {
  std::vector<std::filesystem::path> files;
  if (!std::filesystem::is_directory(folder)) return files;
  for (const auto& file : std::filesystem::directory_iterator(folder))
    if (file.path().extension() == ending) files.push_back(file.path());
  return files;
}

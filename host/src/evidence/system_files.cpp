// SPDX-License-Identifier: MIT
#include "evidence/system_files.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

namespace vireo::host {

std::string SystemFiles::Text(const std::string& path) const {
  std::ifstream file(root_ / path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();  // takes an error of the read, as for the speed of an interface without one, as
                            // the end
  std::string text = content.str();
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

std::vector<std::string> SystemFiles::Names(const std::string& path) const {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(root_ / path, ignored))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::string> WordsOf(const std::string& line) {
  std::istringstream words(line);
  return {std::istream_iterator<std::string>(words), {}};
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace vireo::host

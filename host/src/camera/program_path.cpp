// SPDX-License-Identifier: MIT
#include "camera/program_path.h"

#include <system_error>

namespace vireo::host {

std::filesystem::path ProgramDirectory() {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
}

}  // namespace vireo::host

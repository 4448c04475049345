// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace vireo::host {

/// The directory of this program's own file, through which the files that belong to it are found.
std::filesystem::path ProgramDirectory();

}  // namespace vireo::host

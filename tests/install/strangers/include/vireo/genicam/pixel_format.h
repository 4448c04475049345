// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace vireo::genicam {

unsigned bytesPerPixel(const std::string& name);

}  // namespace vireo::genicam

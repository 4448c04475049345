// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace vireo::genicam {

/// The first 80 characters of a description's UTF-8 text, fit for a record or an error: a question mark for
/// each control character.
std::string oneLine(std::string_view text);

}  // namespace vireo::genicam

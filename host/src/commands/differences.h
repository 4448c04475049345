// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "parameters/setting_differences.h"
#include "terminal/failure.h"

namespace vireo::host {

/// The help of --identity for `save`, `load` and `diff`.
inline constexpr const char* identityHelp =
    "Also what makes a camera that one: its name, network addresses, user sets";

/// The differences as a table whose columns for both sides have these titles.
std::string DifferencesText(const std::vector<Difference>& differences, const std::string& file,
                            const std::string& elsewhere);
/// The same as JSON; the members for both sides have these names.
Json DifferencesJson(const std::vector<Difference>& differences, const std::string& file,
                     const std::string& elsewhere);

}  // namespace vireo::host

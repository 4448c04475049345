// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "parameters/values.h"

namespace vireo::host {

/// Why the camera cannot take the value, by the access, bounds, steps and entries of a scan; none when it
/// can, and for a parameter that is not in the scan, such as a write-only one.
std::optional<std::string> Objection(const common::Parameter& wanted, const ParametersByName& scanned);

/// `wanted`, or the bound that it equals in single precision: the camera may compare more exactly.
common::Parameter OnBounds(const common::Parameter& wanted, const ParametersByName& scanned);

}  // namespace vireo::host

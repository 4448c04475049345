// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// The mode that a text such as RO names.
std::optional<AccessMode> accessMode(std::string_view text);

/// What both modes allow; NotAvailable when that is nothing.
AccessMode narrowed(AccessMode a, AccessMode b);

}  // namespace vireo::genicam

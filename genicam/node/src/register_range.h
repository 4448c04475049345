// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "node_index.h"
#include "number.h"
#include "properties.h"

namespace vireo::genicam {

struct RegisterRange {
  Number min;
  Number max;
};

/// What a numeric register can hold by its length, sign and bits. Nothing for other nodes, or when the
/// description does not say.
std::optional<RegisterRange> registerRange(ElementKind kind, const Properties& properties, bool isSigned);

}  // namespace vireo::genicam

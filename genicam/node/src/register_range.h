// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "node_index.h"
#include "number.h"

namespace vireo::genicam {

struct Range {
  Number min;
  Number max;
};

/// What a numeric register can hold by its length, sign and bits. Nothing for other nodes, or when the
/// description does not say.
std::optional<Range> registerRange(const NodeIndex& index, NodeId id, bool isSigned);

}  // namespace vireo::genicam

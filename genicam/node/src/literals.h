// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "links.h"

namespace vireo::genicam {

/// The first `writers` nodes are features that somebody may write. The literals that a write to one of them
/// ends at, through whatever links, are states of the camera and no constants.
void markWritable(const NodeIndex& index, Links& links, std::size_t writers);

/// The number that each node starts with: its literal, that of the node behind it or of what a constant index
/// selects, or the value of its formula. Nodes whose numbers come from one another in a circle have none.
void findLiterals(const NodeIndex& index, Links& links);

/// What a number child of a node says, in the node's own kind of number.
std::optional<Number> numberOf(const NodeIndex& index, const LinkedNode& node, Property property);

/// The number, fixed for good, of the node that a property names.
std::optional<Number> constantAt(const Links& links, Place place);

/// The answer to a condition: nothing where there is none or only the camera knows.
std::optional<bool> answerAt(const Links& links, Place condition);

}  // namespace vireo::genicam

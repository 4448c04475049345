// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "links.h"

namespace vireo::genicam {

/// Bounds and step of a node: its own, else those of the node behind it, which is done, else its register's.
void findBounds(const NodeIndex& index, const Links& links, const LinkedNode& node, Shown& shown);

/// Unit, representation and text of a node, its own before those of the node behind it, which is done.
void findTexts(const NodeIndex& index, const Links& links, const LinkedNode& node, Shown& shown);

/// Why the bounds that a node says itself do not count, for its record.
std::string contradictionText(const NodeIndex& index, const Links& links, Place place);

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "links.h"

namespace vireo::genicam {

/// Whether its pValue names no node: then its own literals count, and without any it is not available.
bool isDangling(const NodeIndex& index, const LinkedNode& node);

/// What a node allows, whatever lies behind it.
AccessMode ownAccess(const NodeIndex& index, const LinkedNode& node);

/// What a node allows once the node behind it is done, and whether it can be understood. Of the nodes that an
/// index selects from, what they offered in the round before counts.
Offer offerOf(const NodeIndex& index, const Links& links, const LinkedNode& node);

/// Why a node cannot be understood, for its record.
std::string faultText(const NodeIndex& index, const Links& links, const LinkedNode& node);

}  // namespace vireo::genicam

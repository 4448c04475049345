// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "links.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// Adds that of a sound feature, as the description has it before a camera is asked.
NodeMap::iterator addNode(NodeMap& nodes, const NodeIndex& index, const Links& links, Place place,
                          std::string_view category);

}  // namespace vireo::genicam

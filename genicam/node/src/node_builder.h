// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "links.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// Makes `node` that of a sound feature, as the description has it before a camera is asked.
void buildNode(NodeVariant& node, const NodeIndex& index, const Links& links, Place place,
               std::string_view category);

}  // namespace vireo::genicam

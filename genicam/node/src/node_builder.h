// SPDX-License-Identifier: MIT
#pragma once

#include "feature_list.h"
#include "links.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// Adds that of a sound feature, as the description has it before a camera is asked.
NodeMap::iterator addNode(NodeMap& nodes, const NodeIndex& index, const Links& links, const FeatureList& list,
                          Place place);

}  // namespace vireo::genicam

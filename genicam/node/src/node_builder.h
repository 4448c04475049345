// SPDX-License-Identifier: MIT
#pragma once

#include "feature_list.h"
#include "node_index.h"
#include "resolver.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// The node of a sound feature, as the description has it before a camera is asked.
NodeVariant buildNode(const NodeIndex& index, Resolver& resolver, const Feature& feature);

}  // namespace vireo::genicam

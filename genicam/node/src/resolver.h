// SPDX-License-Identifier: MIT
#pragma once

#include "feature_list.h"
#include "links.h"

namespace vireo::genicam {

/// Finds out what the linked nodes hold and allow. The features are the first of them.
void resolve(const NodeIndex& index, Links& links, const FeatureList& list);

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include "links.h"
#include "node_index.h"
#include "vireo/genicam/feature_details.h"

namespace vireo::genicam {

/// Of a sound feature. What it selects may name features that are left out.
FeatureDetails detailsOf(const NodeIndex& index, const Links& links, Place place);

}  // namespace vireo::genicam

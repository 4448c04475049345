// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "node_index.h"

namespace vireo::genicam {

/// A node that the description offers to users.
struct Feature {
  NodeId id;
  std::string_view category;  ///< path of categories that leads to it; cut where it grows beyond any sense
};

struct FeatureList {
  std::vector<Feature> features;
  std::deque<std::string> paths;  ///< what the features' categories refer to
  bool hasRoot = false;           ///< they are what the Root category leads to, else every node
};

FeatureList listFeatures(const NodeIndex& index);

}  // namespace vireo::genicam

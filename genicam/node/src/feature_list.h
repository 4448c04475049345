// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "node_index.h"

namespace vireo::genicam {

/// The nodes that the description offers to users.
struct FeatureList {
  std::vector<NodeId> ids;
  /// Of each, the path of categories that leads to it; cut where it grows beyond any sense.
  std::vector<std::string_view> categories;
  std::deque<std::string> paths;  ///< what the categories refer to
  bool hasRoot = false;           ///< they are what the Root category leads to, else every node
};

FeatureList listFeatures(const NodeIndex& index);

}  // namespace vireo::genicam

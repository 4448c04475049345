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
  std::string_view
      category;  ///< the path of categories that leads to it; cut where it grows beyond any sense
  // Places in FeatureList::members: what a category names, in the order of the description.
  std::size_t firstMember = 0;
  std::size_t endOfMembers = 0;
};

struct FeatureList {
  std::vector<Feature> features;
  std::vector<std::string_view> members;
  std::deque<std::string> paths;  ///< what the categories refer to
  bool hasRoot = false;           ///< they are what the Root category leads to, else every node
};

FeatureList listFeatures(const NodeIndex& index);

}  // namespace vireo::genicam

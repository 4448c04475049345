// SPDX-License-Identifier: MIT
#include "feature_list.h"

#include <cstring>
#include <utility>

#include "document.h"

namespace vireo::genicam {
namespace {

// Every feature keeps its path, so deep nesting and endless names would multiply.
constexpr std::size_t kMaxPath = 256;

/// Walks from nodes to the features of their categories, in document order, each node once.
class Walk {
 public:
  explicit Walk(const NodeIndex& nodeIndex) : index(nodeIndex), seen(nodeIndex.size(), false) {}

  void from(NodeId start) {
    visit(start, {});
    while (!open.empty()) {
      Level& level = open.back();
      if (!level.next) {
        open.pop_back();
        continue;
      }
      const pugi::xml_node child = std::exchange(level.next, level.next.next_sibling("pFeature"));
      if (const auto id = index.find(textOf(child))) visit(*id, level.path);
    }
  }

  std::vector<Feature> features;

 private:
  struct Level {
    pugi::xml_node next;
    std::string path;
  };

  void visit(NodeId id, const std::string& path) {
    if (seen[id]) return;
    seen[id] = true;
    const IndexedNode& node = index[id];
    if (node.kind == ElementKind::Register || node.kind == ElementKind::Other) return;
    features.push_back({id, path});
    if (node.kind == ElementKind::Category)
      open.push_back({node.element.child("pFeature"), below(path, node.name)});
  }

  static std::string below(const std::string& path, std::string_view name) {
    if (path.size() + name.size() >= kMaxPath) return path;
    return path.empty() ? std::string(name) : path + '/' + std::string(name);
  }

  const NodeIndex& index;
  std::vector<bool> seen;
  std::vector<Level> open;
};

}  // namespace

FeatureList listFeatures(const NodeIndex& index) {
  Walk walk(index);
  const auto root = index.find("Root");
  if (root && index[*root].kind == ElementKind::Category) {
    walk.from(*root);
    return {std::move(walk.features), true};
  }
  for (NodeId id = 0; id < index.size(); ++id) {
    if (index[id].kind == ElementKind::Category) walk.from(id);
  }
  for (NodeId id = 0; id < index.size(); ++id) walk.from(id);
  return {std::move(walk.features), false};
}

}  // namespace vireo::genicam

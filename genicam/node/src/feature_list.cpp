// SPDX-License-Identifier: MIT
#include "feature_list.h"

#include <fmt/format.h>

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

  FeatureList list;

 private:
  struct Level {
    pugi::xml_node next;
    std::string_view path;
  };

  void visit(NodeId id, std::string_view path) {
    if (seen[id]) return;
    seen[id] = true;
    const IndexedNode& node = index[id];
    if (node.kind == ElementKind::Register || node.kind == ElementKind::Other) return;
    list.features.push_back({id, path});
    if (node.kind == ElementKind::Category)
      open.push_back({node.element.child("pFeature"), below(path, node.name)});
  }

  std::string_view below(std::string_view path, std::string_view name) {
    if (path.size() + name.size() >= kMaxPath) return path;
    return list.paths.emplace_back(path.empty() ? std::string(name) : fmt::format("{}/{}", path, name));
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
    walk.list.hasRoot = true;
    return std::move(walk.list);
  }
  for (NodeId id = 0; id < index.size(); ++id) {
    if (index[id].kind == ElementKind::Category) walk.from(id);
  }
  for (NodeId id = 0; id < index.size(); ++id) walk.from(id);
  return std::move(walk.list);
}

}  // namespace vireo::genicam

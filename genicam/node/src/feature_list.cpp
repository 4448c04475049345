// SPDX-License-Identifier: MIT
#include "feature_list.h"

#include <fmt/format.h>

#include <utility>

namespace vireo::genicam {
namespace {

// Every feature keeps its path, so deep nesting and endless names would multiply.
constexpr std::size_t maxPath = 256;

/// Walks from nodes to the features of their categories, in document order, each node once.
class Walk {
 public:
  explicit Walk(const NodeIndex& nodeIndex) : index_(nodeIndex), seen_(nodeIndex.size(), false) {}

  void from(NodeId start) {
    visit(start, {});
    while (!open_.empty()) {
      Level& level = open_.back();
      if (!level.next) {
        open_.pop_back();
        continue;
      }
      const pugi::xml_node child = std::exchange(level.next, level.next.next_sibling("pFeature"));
      const NodeId id = index_.find(index_.textOf(child));
      if (id != noNode) visit(id, level.path);
    }
  }

  FeatureList list;

 private:
  struct Level {
    pugi::xml_node next;
    std::string_view path;
  };

  void visit(NodeId id, std::string_view path) {
    if (seen_[id]) return;
    seen_[id] = true;
    const IndexedNode& node = index_[id];
    if (!factsOf(node.kind).shownAs) return;
    list.ids.push_back(id);
    list.categories.push_back(path);
    if (node.kind == ElementKind::Category)
      open_.push_back({node.element.child("pFeature"), below(path, node.name)});
  }

  std::string_view below(std::string_view path, std::string_view name) {
    if (path.size() + name.size() >= maxPath) return path;
    return list.paths.emplace_back(path.empty() ? std::string(name) : fmt::format("{}/{}", path, name));
  }

  const NodeIndex& index_;
  std::vector<bool> seen_;
  std::vector<Level> open_;
};

}  // namespace

FeatureList listFeatures(const NodeIndex& index) {
  Walk walk(index);
  const NodeId root = index.find("Root");
  if (root != noNode && index[root].kind == ElementKind::Category) {
    walk.from(root);
    walk.list.hasRoot = true;
    return std::move(walk.list);
  }
  // Of a name the first node counts, whatever it is.
  const auto isFirst = [&](NodeId id) { return !index[id].name.empty() && index.find(index[id].name) == id; };
  for (NodeId id = 0; id < index.size(); ++id) {
    if (index[id].kind == ElementKind::Category && isFirst(id)) walk.from(id);
  }
  for (NodeId id = 0; id < index.size(); ++id) {
    if (isFirst(id)) walk.from(id);
  }
  return std::move(walk.list);
}

}  // namespace vireo::genicam

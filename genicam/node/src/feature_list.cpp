// SPDX-License-Identifier: MIT
#include "feature_list.h"

#include <fmt/format.h>

namespace vireo::genicam {
namespace {

// Every feature keeps its path, so deep nesting and endless names would multiply.
constexpr std::size_t maxPath = 256;

// Walks from nodes to the features of their categories, in document order, each node once.
class Walk {
 public:
  explicit Walk(const NodeIndex& nodeIndex) : index_(nodeIndex), seen_(nodeIndex.size(), false) {}

  void from(NodeId start) {
    visit(start, {});
    while (!open_.empty()) {
      Level& level = open_.back();
      if (level.next == level.end) {
        open_.pop_back();
        continue;
      }
      const NodeId id = index_.find(list.members[level.next++]);
      if (id != noNode) visit(id, level.path);
    }
  }

  FeatureList list;

 private:
  struct Level {
    std::size_t next;  // of the members
    std::size_t end;
    std::string_view path;
  };

  void visit(NodeId id, std::string_view path) {
    if (seen_[id]) return;
    seen_[id] = true;
    const IndexedNode& node = index_[id];
    if (!factsOf(node.kind).shownAs) return;
    Feature& feature = list.features.emplace_back(Feature{id, path});
    if (node.kind != ElementKind::Category) return;
    feature.firstMember = list.members.size();
    pugi::xml_node child = node.element.child("pFeature");
    for (; exists(child); child = child.next_sibling("pFeature"))
      list.members.push_back(index_.textOf(child));
    feature.endOfMembers = list.members.size();
    open_.push_back({feature.firstMember, feature.endOfMembers, below(path, node.name)});
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

// SPDX-License-Identifier: MIT
#include "node_index.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <utility>

namespace vireo::genicam {
namespace {

std::uint32_t hashOf(std::string_view name) {
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
}

bool isEmpty(pugi::xml_node element) {
  return *element.value() == '\0' && !exists(element.first_child());
}

}  // namespace

NodeIndex::NodeIndex(Document& description) : document_(description) {
  walk(description.root());
  sortKeys();
}

// In document order without recursion. Each element is done with while the processor still has it at hand;
// the few nodes that hold others are gone through twice.
void NodeIndex::walk(pugi::xml_node root) {
  struct Level {
    pugi::xml_node next;
    NodeId around;
  };
  std::vector<Level> open = {{root.first_child(), noNode}};
  while (!open.empty()) {
    auto& [next, around] = open.back();
    if (!exists(next)) {
      open.pop_back();
      continue;
    }
    const pugi::xml_node element = std::exchange(next, next.next_sibling());
    const ElementName& name = elementNamed(element.name());
    if (!name.mayHoldNodes || (around != noNode && name.property)) continue;
    const NodeId id = name.kind ? add(element, *name.kind, around) : noNode;
    if (id == noNode || readProperties(id)) open.push_back({element.first_child(), id});
  }
  nodes_.shrink_to_fit();
  properties_.shrink_to_fit();
}

NodeId NodeIndex::add(pugi::xml_node element, ElementKind kind, NodeId around) {
  const std::string_view name = document_.shown(element.attribute("Name").value());
  if (name.empty() && kind != ElementKind::StructReg) return noNode;
  const bool isEntry =
      kind == ElementKind::StructEntry && around != noNode && nodes_[around].kind == ElementKind::StructReg;
  nodes_.push_back({element, name, {}, kind, 0, isEntry ? around : noNode});
  return size() - 1;
}

// Whether a node may hold others beside its properties.
bool NodeIndex::readProperties(NodeId id) {
  bool holdsMore = false;
  IndexedNode& node = nodes_[id];
  node.firstProperty = static_cast<std::uint32_t>(properties_.size());
  for (pugi::xml_node child = node.element.first_child(); exists(child); child = child.next_sibling()) {
    const ElementName& name = elementNamed(child.name());
    if (!name.property) {
      holdsMore |= name.kind || (name.mayHoldNodes && exists(child.first_child()));
    } else if (!node.properties.has(*name.property) && !isEmpty(child)) {
      node.properties.add(*name.property);
      properties_.push_back(child);
    }
  }
  return holdsMore;
}

void NodeIndex::sortKeys() {
  bucketMask_ = std::bit_ceil(std::max<std::uint32_t>(size(), 1)) - 1;
  buckets_.assign(std::size_t{bucketMask_} + 2, 0);
  std::vector<std::uint32_t> hashes(size());
  for (NodeId id = 0; id < size(); ++id) {
    if (nodes_[id].name.empty()) continue;
    hashes[id] = hashOf(nodes_[id].name);
    ++buckets_[bucketOf(hashes[id]) + 1];
  }
  for (std::size_t i = 1; i < buckets_.size(); ++i) buckets_[i] += buckets_[i - 1];
  keys_.resize(buckets_.back());
  std::vector<std::uint32_t> next(buckets_.begin(), buckets_.end() - 1);
  for (NodeId id = 0; id < size(); ++id) {
    if (!nodes_[id].name.empty()) keys_[next[bucketOf(hashes[id])]++] = {hashes[id], id};
  }
  const auto before = [this](const Key& a, const Key& b) {
    if (a.hash != b.hash) return a.hash < b.hash;
    const int order = nodes_[a.id].name.compare(nodes_[b.id].name);
    return order != 0 ? order < 0 : a.id < b.id;
  };
  for (std::size_t i = 0; i + 1 < buckets_.size(); ++i) {
    if (buckets_[i + 1] - buckets_[i] > 1)
      std::sort(keys_.begin() + buckets_[i], keys_.begin() + buckets_[i + 1], before);
  }
}

NodeId NodeIndex::find(std::string_view name) const {
  const std::uint32_t hash = hashOf(name);
  const auto before = [&](const Key& key, std::uint32_t wanted) {
    return key.hash != wanted ? key.hash < wanted : nodes_[key.id].name < name;
  };
  const auto first = keys_.begin() + buckets_[bucketOf(hash)];
  const auto end = keys_.begin() + buckets_[std::size_t{bucketOf(hash)} + 1];
  const auto key = std::lower_bound(first, end, hash, before);
  return key != end && key->hash == hash && nodes_[key->id].name == name ? key->id : noNode;
}

NodeId NodeIndex::target(NodeId id, Property link) const {
  return has(id, link) ? find(text(id, link)) : noNode;
}

pugi::xml_node NodeIndex::element(NodeId id, Property property) const {
  const IndexedNode& node = nodes_[id];
  if (!node.properties.has(property)) return {};
  return properties_[node.firstProperty + node.properties.place(property)];
}

std::string_view NodeIndex::text(NodeId id, Property property) const {
  return has(id, property) ? document_.textOf(element(id, property)) : std::string_view();
}

std::optional<std::int64_t> NodeIndex::integer(NodeId id, Property property) const {
  const std::optional<Number> number = parseInteger(text(id, property));
  return number ? std::optional(toInteger(*number)) : std::nullopt;
}

}  // namespace vireo::genicam

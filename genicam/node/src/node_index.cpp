// SPDX-License-Identifier: MIT
#include "node_index.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace vireo::genicam {
namespace {

constexpr auto propertyCount = static_cast<std::size_t>(Property::Count);

std::uint32_t hashOf(std::string_view name) {
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
}

bool isEmpty(pugi::xml_node element) {
  return *element.value() == '\0' && !element.first_child();
}

}  // namespace

NodeIndex::NodeIndex(Document& description) : document_(description) {
  walk(description.root());
  sortKeys();
}

// In document order without recursion: what is opened last is walked first.
void NodeIndex::walk(pugi::xml_node root) {
  found_.resize(propertyCount);
  std::vector<Open> open = {{root, std::nullopt, noNode}};
  std::vector<Open> below;
  while (!open.empty()) {
    const Open at = open.back();
    open.pop_back();
    readChildren(at, add(at), below);
    open.insert(open.end(), below.rbegin(), below.rend());
    below.clear();
  }
  nodes_.shrink_to_fit();
  properties_.shrink_to_fit();
}

NodeId NodeIndex::add(const Open& open) {
  if (!open.kind) return noNode;
  const std::string_view name = document_.shown(open.element.attribute("Name").value());
  if (name.empty() && *open.kind != ElementKind::StructReg) return noNode;
  const NodeId structure = *open.kind == ElementKind::StructEntry ? open.structure : noNode;
  nodes_.push_back({open.element, name, {}, 0, structure, *open.kind});
  return size() - 1;
}

// Takes the properties of a node, and leaves in `below` what else may hold or be more nodes.
void NodeIndex::readChildren(const Open& open, NodeId id, std::vector<Open>& below) {
  const NodeId structure = id != noNode && nodes_[id].kind == ElementKind::StructReg ? id : noNode;
  PropertySet present;
  for (pugi::xml_node child = open.element.first_child(); child; child = child.next_sibling()) {
    const ElementName& name = elementNamed(child.name());
    const std::optional<Property> property = id == noNode ? std::nullopt : name.property;
    if (!property) {
      if (name.mayHoldNodes && (child.first_child() || child.first_attribute()))
        below.push_back({child, name.kind, structure});
    } else if (!present.has(*property) && !isEmpty(child)) {
      present.add(*property);
      found_[static_cast<std::size_t>(*property)] = child;
    }
  }
  if (id == noNode) return;
  nodes_[id].properties = present;
  nodes_[id].firstProperty = static_cast<std::uint32_t>(properties_.size());
  present.forEach(
      [&](Property property) { properties_.push_back(found_[static_cast<std::size_t>(property)]); });
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

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <pugixml.hpp>
#include <string_view>
#include <vector>

#include "document.h"
#include "element_kind.h"
#include "number.h"
#include "properties.h"

namespace vireo::genicam {

/// Where a node stands in its `NodeIndex`.
using NodeId = std::uint32_t;
inline constexpr NodeId noNode = std::numeric_limits<NodeId>::max();

struct IndexedNode {
  pugi::xml_node element;
  std::string_view name;
  PropertySet properties;
  ElementKind kind;
  std::uint32_t firstProperty;  ///< where the index keeps the elements of its properties
  NodeId structure;             ///< the StructReg around a StructEntry
};

/// Every named node of a description, wherever it stands, in document order, and every StructReg, whose
/// entries have what it says. Of each the properties: the first child that is not empty of each name. One
/// walk over the document finds all of it. Borrows from the document.
class NodeIndex {
 public:
  explicit NodeIndex(Document& description);

  /// The first node of that name.
  NodeId find(std::string_view name) const;
  /// The node that a property names; noNode where there is none.
  NodeId target(NodeId id, Property link) const;

  const IndexedNode& operator[](NodeId id) const { return nodes_[id]; }
  NodeId size() const { return static_cast<NodeId>(nodes_.size()); }
  const ElementFacts& facts(NodeId id) const { return factsOf(nodes_[id].kind); }

  bool has(NodeId id, Property property) const { return nodes_[id].properties.has(property); }
  pugi::xml_node element(NodeId id, Property property) const;  ///< null when there is none
  std::string_view text(NodeId id, Property property) const;   ///< empty when there is none
  std::string_view textOf(pugi::xml_node element) const { return document_.textOf(element); }
  std::string_view shown(const char* attribute) const { return document_.shown(attribute); }
  std::optional<std::int64_t> integer(NodeId id, Property property) const;

 private:
  // Sorted by hash, then name, and found through buckets of about one: mostly a look-up costs one comparison,
  // and a logarithm whatever names a hostile document chooses.
  struct Key {
    std::uint32_t hash;
    NodeId id;
  };

  void walk(pugi::xml_node root);
  NodeId add(pugi::xml_node element, ElementKind kind, NodeId around);
  bool readProperties(NodeId id);
  void sortKeys();
  std::uint32_t bucketOf(std::uint32_t hash) const { return hash & bucketMask_; }

  Document& document_;
  std::vector<IndexedNode> nodes_;
  std::vector<pugi::xml_node> properties_;  ///< of all nodes, those of one side by side
  std::vector<Key> keys_;                   ///< bucket by bucket
  std::vector<std::uint32_t> buckets_;      ///< where each begins, and where the last ends
  std::uint32_t bucketMask_ = 0;
};

}  // namespace vireo::genicam

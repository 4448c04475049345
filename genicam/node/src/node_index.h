// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace vireo::genicam {

/// The elements of a description that are nodes with a name.
enum class ElementKind : std::uint8_t {
  Integer,
  IntReg,
  MaskedIntReg,
  StructEntry,
  IntConverter,
  IntSwissKnife,
  Float,
  FloatReg,
  Converter,
  SwissKnife,
  Boolean,
  Enumeration,
  Command,
  Category,
  String,
  StringReg,
  Register,  ///< bytes without a type
  Other,     ///< has a name but no value: Port, Node, StructReg and the rest
};

/// Place of a node in its index.
using NodeId = std::uint32_t;

struct IndexedNode {
  pugi::xml_node element;
  std::string_view name;
  ElementKind kind;
};

/// Every named node of a description, wherever it stands, in document order. Borrows from the document.
class NodeIndex {
 public:
  explicit NodeIndex(pugi::xml_node root);

  /// The first node of that name.
  std::optional<NodeId> find(std::string_view name) const;
  const IndexedNode& operator[](NodeId id) const { return nodes[id]; }
  NodeId size() const { return static_cast<NodeId>(nodes.size()); }

 private:
  // Sorted by hash, then name: look-ups cost a logarithm whatever names a hostile document chooses.
  struct Key {
    std::size_t hash;
    NodeId id;
  };

  void add(pugi::xml_node element);
  void sortKeys();
  bool before(const Key& key, std::size_t hash, std::string_view name) const;

  std::vector<IndexedNode> nodes;
  std::vector<Key> keys;
  std::deque<std::string> repairedNames;  ///< of nodes whose names cannot be shown as they stand
};

}  // namespace vireo::genicam

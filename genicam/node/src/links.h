// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "feature_list.h"
#include "node_index.h"
#include "number.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

// Behind a node stands what its pValue leads to; in front of it, what leads to it.

/// Where a node stands in `Links::nodes`.
using Place = std::uint32_t;
inline constexpr Place nowhere = std::numeric_limits<Place>::max();

/// What a node says of its access, sign and visibility. A StructReg says it for all of its entries.
struct Traits {
  std::optional<AccessMode> access;
  std::optional<AccessMode> imposed;
  Visibility visibility = Visibility::Beginner;
  bool isSigned = false;
  Place implementedBy = nowhere;  ///< the nodes that the conditions name
  Place availableBy = nowhere;
  Place lockedBy = nowhere;

  /// ImposedAccessMode and AccessMode together; everything where neither is said.
  AccessMode allowed() const;
};

/// What both modes allow; NotAvailable when that is nothing.
AccessMode narrowed(AccessMode a, AccessMode b);

/// The number that a node starts with, as far as the text tells.
struct Literal {
  std::optional<Number> number;
  bool isWritable = false;  ///< by a feature, so it is not a constant
};

/// Why a node cannot be understood.
enum class Fault : std::uint8_t {
  None,
  Circle,
  WrongKind,
  FaultBehind,
  NothingIndexed,
  NotANumber,
  NotABoolean,
};

/// What a node gives to those that have their value from it.
struct Offer {
  AccessMode access = AccessMode::ReadWrite;
  Fault fault = Fault::None;
  bool operator==(const Offer&) const = default;
};

struct Bounds {
  std::optional<Number> min;
  std::optional<Number> max;
  bool operator==(const Bounds&) const = default;
};

/// The node whose element holds a text, and whether the nodes in front of it take that text too.
struct TextSource {
  NodeId from = noNode;
  bool isShared = true;
};

/// What a feature shows beside its value, by itself or by what stands behind it.
struct Shown {
  Bounds bounds;
  std::optional<Number> step;
  bool isContradictory = false;  ///< its own bounds leave no value, and do not count
  TextSource unit;
  TextSource representation;
  TextSource text;  ///< a String's literal value
};

/// An enumeration's entry.
struct Entry {
  std::string_view name;
  std::string_view value;
  // Places in Links::targets: what says whether it is implemented and available.
  std::uint32_t firstCondition = 0;
  std::uint32_t endOfConditions = 0;
};

/// A node, the nodes that it names, and what is found out about it.
struct LinkedNode {
  const ElementFacts* facts = nullptr;
  NodeId id = noNode;
  bool isIndexed = false;      ///< pIndex selects its value; a register's index finds its address instead
  bool isCircular = false;     ///< its pValue led back to it, and was cut
  bool isOpenFormula = false;  ///< a variable of its formula is not a constant for sure
  bool isWritable = false;     ///< a write to some feature ends here
  bool hasTraits = false;
  Traits traits;
  Place behind = nowhere;  ///< the node that pValue names
  Place minimum = nowhere;
  Place maximum = nowhere;
  Place increment = nowhere;
  Place selector = nowhere;  ///< the node that pIndex names
  // Places in Links::targets: what the index selects from, then the copies that a write goes to as well; the
  // variables of a formula.
  std::uint32_t firstTarget = 0;
  std::uint32_t firstCopy = 0;
  std::uint32_t endOfCopies = 0;
  std::uint32_t firstVariable = 0;
  std::uint32_t endOfVariables = 0;
  std::uint32_t firstEntry = 0;  ///< in Links::entries
  std::uint32_t endOfEntries = 0;

  Literal literal;
  Offer offer;
  Offer lastOffer;  ///< of the round before
};

/// The features and every node that they lead to, each once. A link is followed as far as somebody asks for
/// what it leads to:
/// - features come first, and with what stands behind them they show bounds and texts;
/// - with what an index selects and the copies of a value they offer access;
/// - all others only have numbers.
/// `inOrder` has a node behind pValue before those that name it; a circle of pValue is cut and its nodes are
/// marked.
class Links {
 public:
  /// `features` keep their order.
  Links(const NodeIndex& nodeIndex, const std::vector<Feature>& features);

  /// Where the node that an element names is linked.
  Place target(pugi::xml_node link) const {
    const NodeId id = index_.find(index_.textOf(link));
    return id == noNode ? nowhere : places_[id];
  }

  std::vector<LinkedNode> nodes;
  std::vector<Place> targets;
  std::vector<Entry> entries;
  std::vector<Place> inOrder;
  std::vector<Shown> shown;  ///< of as many nodes as show something
  Place endOfOffers = 0;     ///< of the nodes that offer access
  bool hasIndexed = false;   ///< some index selects from nodes

 private:
  Place add(NodeId id);
  Place linked(NodeId id, Property link);
  void followValue(LinkedNode& node);
  void followChoices(LinkedNode& node);
  void followBounds(LinkedNode& node);
  void followInputs(LinkedNode& node);
  void findTraits(LinkedNode& node);
  void addTargets(NodeId id, Property property);
  void addTarget(pugi::xml_node link);
  void addVariables(LinkedNode& node);
  void addEntries(LinkedNode& node);
  void addEntry(pugi::xml_node element);
  bool hasOpenVariable(NodeId id) const;
  void sort();
  void cut(Place circle);

  const NodeIndex& index_;
  std::vector<Place> places_;  ///< of every node of the index
};

}  // namespace vireo::genicam

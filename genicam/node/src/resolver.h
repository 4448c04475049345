// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "feature_list.h"
#include "node_index.h"
#include "number.h"
#include "properties.h"
#include "traits.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// What a node allows and the numbers that are possible for it, as far as the text alone tells.
struct Resolved {
  AccessMode access = AccessMode::ReadWrite;
  std::optional<Number> min;
  std::optional<Number> max;
  std::optional<Number> increment;
  std::string_view unit;
  std::string_view representation;
  std::string_view text;         ///< a String's literal value
  std::string_view fault;        ///< why the node can't be understood; empty for a sound one
  std::string_view boundsFault;  ///< why its own bounds don't count; empty where they do
};

/// Follows the links between nodes (pValue, indexed values, conditions, bounds). What a node resolves to is
/// worked out once, without recursion, and kept: chains cost their length, circles end. What it gives refers
/// to texts that the resolver keeps.
class Resolver {
 public:
  explicit Resolver(const NodeIndex& nodeIndex);

  /// The literals that a write to one of these nodes ends at, through whatever links, are no constants.
  void markWritable(const std::vector<Feature>& features);

  const Properties& properties(NodeId id) { return state(id).properties; }
  const Traits& traits(NodeId id) { return state(id).traits; }
  const Resolved& resolve(NodeId id);
  /// The number that a node starts with: a literal, or a link to one. Nothing when only the camera knows.
  std::optional<Number> value(NodeId id) { return literalBehind(id).number; }

 private:
  enum class Progress : std::uint8_t { Open, Active, Done };

  struct Literal {
    std::optional<Number> number;
    bool wrapped = false;   ///< it was written as 2^63 to 2^64-1
    bool writable = false;  ///< so it is no constant
  };

  struct State {
    State(pugi::xml_node element, const NodeIndex& index, const Traits* structure)
        : properties(element), traits(properties, index, structure) {}

    Properties properties;
    Traits traits;
    std::optional<NodeId> behind;  ///< the node that pValue names
    Resolved resolved;
    Literal literal;
    Progress resolving = Progress::Open;
    Progress finding = Progress::Open;
    bool circular = false;  ///< its pValue leads back to it
    bool early = false;     ///< resolved before what lies behind it
    bool reached = false;   ///< by a feature that may write it
    bool writable = false;
  };

  State& state(NodeId id);
  const Traits* structureOf(NodeId id);
  std::optional<NodeId> target(NodeId id, Property link);
  bool isIndexed(NodeId id);
  std::vector<NodeId> valueTargets(NodeId id);
  std::vector<NodeId> writeTargets(NodeId id);

  Literal literalOf(NodeId id, Property property);
  Literal ownLiteral(NodeId id);
  Literal passedOn(NodeId id, const Literal& behind);
  const Literal& literalBehind(NodeId id);
  Literal constant(std::optional<NodeId> id);
  std::optional<bool> answer(std::optional<NodeId> condition);

  void combine(NodeId id);
  bool isEarly(std::optional<NodeId> behind);
  AccessMode ownAccess(NodeId id);
  AccessMode accessBehind(NodeId id);
  AccessMode sharedByIndexed(NodeId id);
  std::string objection(NodeId id, NodeId behind);
  bool isCircular(NodeId id);
  std::string linkFault(NodeId id);
  std::string indexFault(NodeId id);
  std::string valueFault(NodeId id);
  void inherit(NodeId id);
  void takeBounds(NodeId id);
  void takeTexts(NodeId id);
  std::string_view kept(std::string text);

  const NodeIndex& index;
  std::vector<State*> slots;  ///< null for a node that nobody asked for
  std::deque<State> states;   ///< grows without moving what it holds
  std::map<pugi::xml_node, Traits> structures;
  std::deque<std::string> texts;  ///< what the resolved nodes refer to
};

}  // namespace vireo::genicam

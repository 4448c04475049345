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
  std::string fault;  ///< why the node can't be understood; empty for a sound one
};

/// Follows the links between nodes (pValue, indexed values, conditions, bounds). What a node resolves to is
/// worked out once, without recursion, and kept: chains cost their length, circles end.
class Resolver {
 public:
  explicit Resolver(const NodeIndex& nodeIndex);

  /// The literal at the end of these nodes' pValue chains can be written, so it is no constant.
  void markWritable(const std::vector<Feature>& features);

  const Properties& properties(NodeId id) { return state(id).properties; }
  const Resolved& resolve(NodeId id);
  /// The number that a node has for good: a literal, or a link to one. Nothing when the camera decides.
  std::optional<Number> constant(NodeId id);
  /// The same for a property that names a node.
  std::optional<Number> constantBehind(NodeId id, Property link);
  std::optional<NodeId> target(NodeId id, Property link);

 private:
  enum class Progress : std::uint8_t { Open, Active, Done };

  struct State {
    explicit State(pugi::xml_node element) : properties(element) {}

    Properties properties;
    Resolved resolved;
    std::string ownUnit;
    std::string ownRepresentation;
    std::optional<Number> constant;
    Progress resolving = Progress::Open;
    Progress finding = Progress::Open;
    bool writable = false;
  };

  State& state(NodeId id);
  const Properties& structure(pugi::xml_node element);
  std::optional<Number> literal(NodeId id);
  std::optional<Number> passedOn(NodeId id, const std::optional<Number>& behind);
  std::vector<NodeId> valueTargets(NodeId id);
  void combine(NodeId id);
  AccessMode accessByItself(NodeId id);
  AccessMode sharedByIndexed(NodeId id);
  void findFault(NodeId id);
  void findBounds(NodeId id);

  const NodeIndex& index;
  std::vector<std::uint32_t> slots;  ///< 1 + place in states; 0 for a node that nobody asked for
  std::deque<State> states;          ///< grows without moving what it holds
  std::map<pugi::xml_node, Properties> structures;
};

}  // namespace vireo::genicam

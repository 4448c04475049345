// SPDX-License-Identifier: MIT
#include "node_builder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

#include "brio/fnd/record.h"
#include "literals.h"
#include "utf8.h"

namespace vireo::genicam {
namespace {

// Everything the kinds of nodes are built from.
struct Described {
  const NodeIndex& index;
  const Links& links;
  const LinkedNode& found;
  const Shown& shown;
  const FeatureList& list;
  const Feature& feature;

  std::string_view text(Property property) const { return index.text(found.id, property); }
  std::string_view text(const TextSource& source, Property property) const {
    return source.from == noNode ? std::string_view() : index.text(source.from, property);
  }
};

void fillHeader(NodeHeader& node, const Described& described) {
  const LinkedNode& found = described.found;
  node.displayName = described.text(Property::DisplayName);
  node.toolTip = described.text(Property::ToolTip);
  node.description = described.text(Property::Description);
  if (node.description.empty()) node.description = node.toolTip;
  node.accessMode = found.offer.access;
  node.visibility = found.traits.visibility;
  node.category = described.feature.category;
}

void fill(IntegerNode& node, const Described& described) {
  const std::optional<Number>& number = described.found.literal.number;
  const Shown& shown = described.shown;
  if (number) node.value = toInteger(*number);
  if (shown.bounds.min) node.min = toInteger(*shown.bounds.min);
  if (shown.bounds.max) node.max = toInteger(*shown.bounds.max);
  if (shown.step) node.inc = std::max<std::int64_t>(1, toInteger(*shown.step));
  node.unit = described.text(shown.unit, Property::Unit);
}

void fill(FloatNode& node, const Described& described) {
  const std::optional<Number>& number = described.found.literal.number;
  const Shown& shown = described.shown;
  if (number) node.value = toFloat(*number);
  if (shown.bounds.min) node.min = toFloat(*shown.bounds.min);
  if (shown.bounds.max) node.max = toFloat(*shown.bounds.max);
  node.unit = described.text(shown.unit, Property::Unit);
  node.representation = described.text(shown.representation, Property::Representation);
}

void fill(BooleanNode& node, const Described& described) {
  const std::optional<Number>& number = described.found.literal.number;
  node.value = number && !isZero(*number);
}

void fill(StringNode& node, const Described& described) {
  node.value = described.text(described.shown.text, Property::Value);
}

void fill(CommandNode&, const Described&) {}

// Whether no constant says that it is never implemented or available.
bool canBe(const Links& links, const Entry& entry) {
  const auto allows = [&](Place condition) { return answerAt(links, condition) != false; };
  return std::all_of(links.targets.begin() + entry.firstCondition,
                     links.targets.begin() + entry.endOfConditions, allows);
}

// Takes an entry; gives the reason where it does not.
std::string addEntry(EnumerationNode& node, const Entry& entry, const std::optional<Number>& current) {
  const std::optional<Number> number = parseInteger(entry.value);
  if (entry.name.empty()) return "it has no name";
  if (!number) return fmt::format("Value '{}' is not a number", oneLine(entry.value));
  const auto [at, isNew] = node.entryValues.try_emplace(std::string(entry.name), toInteger(*number));
  if (!isNew) return "there is one of that name before it";
  node.entries.emplace_back(entry.name);
  if (node.value.empty() && current && toInteger(*current) == at->second) node.value = entry.name;
  return {};
}

void fill(EnumerationNode& node, const Described& described) {
  const LinkedNode& found = described.found;
  node.entries.reserve(found.endOfEntries - found.firstEntry);
  for (std::uint32_t i = found.firstEntry; i < found.endOfEntries; ++i) {
    const Entry& entry = described.links.entries[i];
    if (!canBe(described.links, entry)) continue;
    const std::string fault = addEntry(node, entry, found.literal.number);
    if (!fault.empty()) {
      BRIO_LOG_DEBUG("entry '{}' of feature '{}' is left out: {}", oneLine(entry.name), oneLine(node.name),
                     fault);
    }
  }
}

void fill(CategoryNode& node, const Described& described) {
  const Feature& feature = described.feature;
  const auto members = std::span(described.list.members)
                           .subspan(feature.firstMember, feature.endOfMembers - feature.firstMember);
  node.features.assign(members.begin(), members.end());
}

template <typename Kind>
NodeMap::iterator addKind(NodeMap& nodes, const Described& described) {
  std::string name(described.index[described.found.id].name);
  const auto added = nodes.try_emplace(std::move(name), std::in_place_type<Kind>).first;
  Kind& kind = std::get<Kind>(added->second);
  kind.name = added->first;
  fillHeader(kind, described);
  fill(kind, described);
  return added;
}

}  // namespace

NodeMap::iterator addNode(NodeMap& nodes, const NodeIndex& index, const Links& links, const FeatureList& list,
                          Place place) {
  using Add = NodeMap::iterator (*)(NodeMap&, const Described&);
  // In the order of NodeType.
  constexpr Add adders[] = {addKind<IntegerNode>, addKind<FloatNode>,       addKind<BooleanNode>,
                            addKind<StringNode>,  addKind<EnumerationNode>, addKind<CommandNode>,
                            addKind<CategoryNode>};
  const LinkedNode& found = links.nodes[place];
  const auto type = static_cast<std::size_t>(found.facts->shownAs.value());
  return adders[type](nodes, {index, links, found, links.shown[place], list, list.features[place]});
}

}  // namespace vireo::genicam

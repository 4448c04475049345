// SPDX-License-Identifier: MIT
#include "node_builder.h"

#include <fmt/format.h>

#include <algorithm>

#include "brio/fnd/log.h"
#include "document.h"
#include "utf8.h"

namespace vireo::genicam {
namespace {

/// Everything the kinds of nodes are built from.
struct Described {
  const NodeIndex& index;
  Resolver& resolver;
  const Feature& feature;

  pugi::xml_node element() const { return index[feature.id].element; }
  const Properties& properties() const { return resolver.properties(feature.id); }
  const Resolved& resolved() const { return resolver.resolve(feature.id); }
  std::optional<Number> value() const { return resolver.value(feature.id); }
};

template <typename Kind>
Kind withHeader(const Described& described) {
  const Properties& properties = described.properties();
  Kind node;
  node.name = described.index[described.feature.id].name;
  node.displayName = properties.text(Property::DisplayName);
  node.toolTip = properties.text(Property::ToolTip);
  node.description = properties.text(Property::Description);
  if (node.description.empty()) node.description = node.toolTip;
  node.accessMode = described.resolved().access;
  node.visibility = described.resolver.traits(described.feature.id).visibility.value_or(Visibility::Beginner);
  node.category = described.feature.category;
  return node;
}

IntegerNode buildInteger(const Described& described) {
  auto node = withHeader<IntegerNode>(described);
  const Resolved& resolved = described.resolved();
  node.value = toInteger(described.value().value_or(std::int64_t{0}));
  if (resolved.min) node.min = toInteger(*resolved.min);
  if (resolved.max) node.max = toInteger(*resolved.max);
  if (resolved.increment) node.inc = std::max<std::int64_t>(1, toInteger(*resolved.increment));
  node.unit = resolved.unit;
  return node;
}

FloatNode buildFloat(const Described& described) {
  auto node = withHeader<FloatNode>(described);
  const Resolved& resolved = described.resolved();
  node.value = toFloat(described.value().value_or(0.0));
  if (resolved.min) node.min = toFloat(*resolved.min);
  if (resolved.max) node.max = toFloat(*resolved.max);
  node.unit = resolved.unit;
  node.representation = resolved.representation;
  return node;
}

BooleanNode buildBoolean(const Described& described) {
  auto node = withHeader<BooleanNode>(described);
  node.value = !isZero(described.value().value_or(std::int64_t{0}));
  return node;
}

StringNode buildString(const Described& described) {
  auto node = withHeader<StringNode>(described);
  node.value = described.resolved().text;
  return node;
}

EnumerationNode buildEnumeration(const Described& described) {
  auto node = withHeader<EnumerationNode>(described);
  const std::optional<Number> current = described.value();
  for (pugi::xml_node entry = described.element().child("EnumEntry"); entry;
       entry = entry.next_sibling("EnumEntry")) {
    const std::string name = plain(trimmed(entry.attribute("Name").value()));
    const std::string text = textOf(entry.child("Value"));
    const std::optional<std::int64_t> value = parseInteger(text);
    std::string fault;
    if (name.empty()) {
      fault = "it has no name";
    } else if (!value) {
      fault = fmt::format("Value '{}' is no number", oneLine(text));
    } else if (!node.entryValues.emplace(name, *value).second) {
      fault = "there is one of that name before it";
    }
    if (!fault.empty()) {
      BRIO_LOG_DEBUG("entry '{}' of feature '{}' is left out: {}", oneLine(name), oneLine(node.name), fault);
      continue;
    }
    node.entries.push_back(name);
    if (node.value.empty() && current && toInteger(*current) == *value) node.value = name;
  }
  return node;
}

CategoryNode buildCategory(const Described& described) {
  auto node = withHeader<CategoryNode>(described);
  for (pugi::xml_node child = described.element().child("pFeature"); child;
       child = child.next_sibling("pFeature")) {
    node.features.push_back(textOf(child));
  }
  return node;
}

}  // namespace

NodeVariant buildNode(const NodeIndex& index, Resolver& resolver, const Feature& feature) {
  const Described described{index, resolver, feature};
  switch (index[feature.id].kind) {
    case ElementKind::Float:
    case ElementKind::FloatReg:
    case ElementKind::Converter:
    case ElementKind::SwissKnife:
      return buildFloat(described);
    case ElementKind::Boolean:
      return buildBoolean(described);
    case ElementKind::String:
    case ElementKind::StringReg:
      return buildString(described);
    case ElementKind::Enumeration:
      return buildEnumeration(described);
    case ElementKind::Command:
      return withHeader<CommandNode>(described);
    case ElementKind::Category:
      return buildCategory(described);
    default:
      return buildInteger(described);
  }
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#include "node_builder.h"

#include <algorithm>

#include "brio/fnd/log.h"
#include "document.h"
#include "one_line.h"

namespace vireo::genicam {
namespace {

/// Everything the kinds of nodes are built from.
struct Source {
  const NodeIndex& index;
  Resolver& resolver;
  const Feature& feature;

  pugi::xml_node element() const { return index[feature.id].element; }
  const Properties& properties() const { return resolver.properties(feature.id); }
  const Resolved& resolved() const { return resolver.resolve(feature.id); }
  std::optional<Number> value() const { return resolver.value(feature.id); }
};

template <typename Kind>
Kind withHeader(const Source& source) {
  const Properties& properties = source.properties();
  Kind node;
  node.name = source.index[source.feature.id].name;
  node.displayName = properties.text(Property::DisplayName);
  node.toolTip = properties.text(Property::ToolTip);
  node.description = properties.text(Property::Description);
  if (node.description.empty()) node.description = node.toolTip;
  node.accessMode = source.resolved().access;
  node.visibility = source.resolver.traits(source.feature.id).visibility.value_or(Visibility::Beginner);
  node.category = source.feature.category;
  return node;
}

IntegerNode buildInteger(const Source& source) {
  auto node = withHeader<IntegerNode>(source);
  const Resolved& resolved = source.resolved();
  node.value = toInteger(source.value().value_or(std::int64_t{0}));
  if (resolved.min) node.min = toInteger(*resolved.min);
  if (resolved.max) node.max = toInteger(*resolved.max);
  if (resolved.increment) node.inc = std::max<std::int64_t>(1, toInteger(*resolved.increment));
  node.unit = resolved.unit;
  return node;
}

FloatNode buildFloat(const Source& source) {
  auto node = withHeader<FloatNode>(source);
  const Resolved& resolved = source.resolved();
  node.value = toFloat(source.value().value_or(0.0));
  if (resolved.min) node.min = toFloat(*resolved.min);
  if (resolved.max) node.max = toFloat(*resolved.max);
  node.unit = resolved.unit;
  node.representation = resolved.representation;
  return node;
}

BooleanNode buildBoolean(const Source& source) {
  auto node = withHeader<BooleanNode>(source);
  node.value = !isZero(source.value().value_or(std::int64_t{0}));
  return node;
}

StringNode buildString(const Source& source) {
  auto node = withHeader<StringNode>(source);
  node.value = source.properties().text(Property::Value);
  if (node.value.empty()) node.value = source.resolved().text;
  return node;
}

EnumerationNode buildEnumeration(const Source& source) {
  auto node = withHeader<EnumerationNode>(source);
  const std::optional<Number> current = source.value();
  for (pugi::xml_node entry = source.element().child("EnumEntry"); entry;
       entry = entry.next_sibling("EnumEntry")) {
    const std::string name(trimmed(entry.attribute("Name").value()));
    const std::string text = textOf(entry.child("Value"));
    const std::optional<std::int64_t> value = parseInteger(text);
    if (!value) {
      BRIO_LOG_DEBUG("entry '{}' of feature '{}' is left out: Value '{}' is no number", oneLine(name),
                     oneLine(node.name), oneLine(text));
    }
    if (name.empty() || !value || !node.entryValues.emplace(name, *value).second) continue;
    if (node.value.empty() && current && toInteger(*current) == *value) node.value = name;
    node.entries.push_back(name);
  }
  return node;
}

CategoryNode buildCategory(const Source& source) {
  auto node = withHeader<CategoryNode>(source);
  for (pugi::xml_node child = source.element().child("pFeature"); child;
       child = child.next_sibling("pFeature")) {
    node.features.push_back(textOf(child));
  }
  return node;
}

}  // namespace

NodeVariant buildNode(const NodeIndex& index, Resolver& resolver, const Feature& feature) {
  const Source source{index, resolver, feature};
  switch (index[feature.id].kind) {
    case ElementKind::Float:
    case ElementKind::FloatReg:
    case ElementKind::Converter:
    case ElementKind::SwissKnife:
      return buildFloat(source);
    case ElementKind::Boolean:
      return buildBoolean(source);
    case ElementKind::String:
    case ElementKind::StringReg:
      return buildString(source);
    case ElementKind::Enumeration:
      return buildEnumeration(source);
    case ElementKind::Command:
      return withHeader<CommandNode>(source);
    case ElementKind::Category:
      return buildCategory(source);
    default:
      return buildInteger(source);
  }
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#include "bounds.h"

#include <fmt/format.h>

#include <limits>

#include "formulas.h"
#include "literals.h"
#include "register_range.h"

namespace vireo::genicam {
namespace {

// Texts behind a link are copied to every node that links there, so a long one is not passed on.
constexpr std::size_t maxSharedText = 256;

Number inKind(const Number& number, const ElementFacts& facts) {
  return facts.isFloat() ? Number(toFloat(number)) : Number(toInteger(number));
}

// 2^63 and more behind an int64 bounds nothing.
Number upperBound(const Number& number, const ElementFacts& facts) {
  const bool noBound = std::holds_alternative<std::uint64_t>(number);
  return inKind(noBound ? Number(std::numeric_limits<std::int64_t>::max()) : number, facts);
}

std::string written(const Number& number) {
  return std::visit([](auto held) { return fmt::format("{}", held); }, number);
}

// A literal, else a link to a constant.
std::optional<Number> said(const NodeIndex& index, const Links& links, const LinkedNode& node, Property bound,
                           Place link) {
  const std::optional<Number> number = numberOf(index, node, bound);
  return number ? number : constantAt(links, link);
}

// A range only counts whole: half of one may be the other half behind a formula.
void inheritConverted(const NodeIndex& index, const Links& links, const LinkedNode& node, Shown& shown) {
  const Bounds& behind = links.shown[node.behind].bounds;
  if (!behind.min || !behind.max) return;
  const auto range = convertedRange(index, links, node, *behind.min, *behind.max);
  if (range) shown.bounds = {range->first, range->second};
}

void inheritBounds(const NodeIndex& index, const Links& links, const LinkedNode& node, Shown& shown) {
  if (node.behind == nowhere) {
    const auto range = registerRange(index, node.id, node.traits.isSigned);
    if (range) shown.bounds = {range->min, range->max};
    return;
  }
  if (node.facts->isFormula()) {
    inheritConverted(index, links, node, shown);
    return;
  }
  const Shown& behind = links.shown[node.behind];
  Bounds& bounds = shown.bounds;
  if (behind.bounds.min) bounds.min = inKind(*behind.bounds.min, *node.facts);
  if (behind.bounds.max) bounds.max = inKind(*behind.bounds.max, *node.facts);
  // A float cannot be set to what no integer holds.
  if (node.facts->isFloat() && !links.nodes[node.behind].facts->isFloat()) {
    if (!bounds.min) bounds.min = toFloat(std::numeric_limits<std::int64_t>::min());
    if (!bounds.max) bounds.max = toFloat(std::numeric_limits<std::int64_t>::max());
  }
  shown.step = behind.step;
}

// What a node says itself, over what it inherits.
Bounds ownBounds(const NodeIndex& index, const Links& links, const LinkedNode& node, const Shown& shown) {
  Bounds own = shown.bounds;
  if (const auto min = said(index, links, node, Property::Min, node.minimum))
    own.min = inKind(*min, *node.facts);
  if (const auto max = said(index, links, node, Property::Max, node.maximum))
    own.max = upperBound(*max, *node.facts);
  return own;
}

}  // namespace

void findBounds(const NodeIndex& index, const Links& links, const LinkedNode& node, Shown& shown) {
  inheritBounds(index, links, node, shown);
  const Bounds own = ownBounds(index, links, node, shown);
  shown.isContradictory = own.min && own.max && *own.max < *own.min;
  if (!shown.isContradictory) shown.bounds = own;
  const std::optional<Number> step = said(index, links, node, Property::Inc, node.increment);
  if (step && toFloat(*step) > 0) shown.step = step;
}

void findTexts(const NodeIndex& index, const Links& links, const LinkedNode& node, Shown& shown) {
  const auto inherit = [&](TextSource Shown::*text) {
    const TextSource& behind = links.shown[node.behind].*text;
    if (behind.isShared) shown.*text = behind;
  };
  const auto take = [&](TextSource Shown::*text, Property property) {
    if (index.has(node.id, property))
      shown.*text = {node.id, index.text(node.id, property).size() <= maxSharedText};
  };
  if (node.behind != nowhere) {
    inherit(&Shown::unit);
    inherit(&Shown::representation);
    inherit(&Shown::text);
  }
  take(&Shown::unit, Property::Unit);
  take(&Shown::representation, Property::Representation);
  if (node.facts->kind == ElementKind::String && node.behind == nowhere) take(&Shown::text, Property::Value);
}

std::string contradictionText(const NodeIndex& index, const Links& links, Place place) {
  const Bounds own = ownBounds(index, links, links.nodes[place], links.shown[place]);
  return fmt::format("its minimum {} is above its maximum {}", written(*own.min), written(*own.max));
}

}  // namespace vireo::genicam

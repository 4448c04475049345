// SPDX-License-Identifier: MIT
#include "literals.h"

#include "access.h"
#include "formulas.h"

namespace vireo::genicam {
namespace {

bool allowsWriting(AccessMode access) {
  return access == AccessMode::ReadWrite || access == AccessMode::WriteOnly;
}

std::optional<Number> ownNumber(const NodeIndex& index, const LinkedNode& node) {
  if (node.facts->hasNumber()) return numberOf(index, node, Property::Value);
  if (!node.facts->isBoolean()) return std::nullopt;
  const std::optional<bool> value = parseBoolean(index.text(node.id, Property::Value));
  return value ? std::optional<Number>(std::int64_t{*value}) : std::nullopt;
}

// A node that links to a number has that number; a Boolean compares it, a converter computes with it.
Literal passedOn(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  const Literal& behind = links.nodes[node.behind].literal;
  if (!behind.number || node.facts->isSwissKnife()) return {};
  if (node.facts->isConverter()) return {converted(index, links, node, *behind.number), behind.isWritable};
  if (!node.facts->isBoolean()) return behind;
  const std::int64_t on = index.integer(node.id, Property::OnValue).value_or(1);
  return {Number(std::int64_t{toInteger(*behind.number) == on}), behind.isWritable};
}

// What a constant index selects: a literal, or a link to one; the default where nothing has that index.
Literal selected(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  const std::optional<Number> wanted = constantAt(links, node.selector);
  if (!wanted) return {};
  const auto literal = [&](pugi::xml_node child) {
    const std::string_view text = index.textOf(child);
    return Literal{node.facts->isFloat() ? std::optional<Number>(parseFloat(text)) : parseInteger(text),
                   node.isWritable};
  };
  const auto linked = [&](pugi::xml_node child) {
    const Place place = links.target(child);
    return place == nowhere ? Literal() : links.nodes[place].literal;
  };
  const auto withIndex = [&](Property property) {
    pugi::xml_node child = index.element(node.id, property);
    for (; exists(child); child = child.next_sibling(child.name())) {
      const std::optional<Number> number = parseInteger(child.attribute("Index").value());
      if (number && toInteger(*number) == toInteger(*wanted)) break;
    }
    return child;
  };
  if (const auto child = withIndex(Property::ValueIndexed)) return literal(child);
  if (const auto child = withIndex(Property::PValueIndexed)) return linked(child);
  if (const auto child = index.element(node.id, Property::ValueDefault)) return literal(child);
  if (const auto child = index.element(node.id, Property::PValueDefault)) return linked(child);
  return {};
}

void findLiteral(const NodeIndex& index, const Links& links, LinkedNode& node) {
  if (node.behind != nowhere) {
    node.literal = passedOn(index, links, node);
  } else if (node.facts->isSwissKnife()) {
    node.literal = {formulaValue(index, links, node)};
  } else if (node.isIndexed) {
    node.literal = selected(index, links, node);
  } else if (!node.isCircular && index.has(node.id, Property::Value)) {
    node.literal = {ownNumber(index, node), node.isWritable};
  }
}

// Calls `visit` with each node whose literal this one's may come from.
template <typename Visit>
void forEachInput(const Links& links, const LinkedNode& node, const Visit& visit) {
  if (node.behind != nowhere) visit(node.behind);
  if (node.selector != nowhere) visit(node.selector);
  for (std::size_t i = node.firstTarget; i < node.firstCopy; ++i) visit(links.targets[i]);
  for (std::size_t i = node.firstVariable; i < node.endOfVariables; ++i) visit(links.targets[i]);
}

// Of each node, those that wait for its literal: side by side, node by node.
struct Waiting {
  explicit Waiting(const Links& links) : first(links.nodes.size() + 1, 0), inputs(links.nodes.size(), 0) {
    for (const LinkedNode& node : links.nodes)
      forEachInput(links, node, [&](Place input) { ++first[input + 1]; });
    for (std::size_t i = 1; i < first.size(); ++i) first[i] += first[i - 1];
    places.resize(first.back());
    std::vector<std::uint32_t> next(first.begin(), first.end() - 1);
    for (Place place = 0; place < links.nodes.size(); ++place) {
      forEachInput(links, links.nodes[place], [&](Place input) {
        places[next[input]++] = place;
        ++inputs[place];
      });
    }
  }

  std::vector<std::uint32_t> first;
  std::vector<std::uint32_t> inputs;  // how many of its inputs are not done
  std::vector<Place> places;
};

}  // namespace

void markWritable(const NodeIndex& index, Links& links, std::size_t writers) {
  std::vector<bool> isReached(links.nodes.size(), false);
  std::vector<Place> open;
  const auto reach = [&](Place place) {
    if (place == nowhere || isReached[place]) return;
    isReached[place] = true;
    open.push_back(place);
  };
  for (std::size_t writer = 0; writer < writers; ++writer) reach(static_cast<Place>(writer));
  while (!open.empty()) {
    LinkedNode& node = links.nodes[open.back()];
    open.pop_back();
    if (!allowsWriting(ownAccess(index, node))) continue;
    node.isWritable = true;
    reach(node.behind);
    for (std::size_t i = node.firstTarget; i < node.endOfCopies; ++i) reach(links.targets[i]);
  }
}

void findLiterals(const NodeIndex& index, Links& links) {
  Waiting waiting(links);
  std::vector<Place> ready;
  for (Place place = 0; place < links.nodes.size(); ++place) {
    if (waiting.inputs[place] == 0) ready.push_back(place);
  }
  for (std::size_t i = 0; i < ready.size(); ++i) {
    findLiteral(index, links, links.nodes[ready[i]]);
    for (std::uint32_t at = waiting.first[ready[i]]; at < waiting.first[ready[i] + 1]; ++at) {
      if (--waiting.inputs[waiting.places[at]] == 0) ready.push_back(waiting.places[at]);
    }
  }
}

std::optional<Number> numberOf(const NodeIndex& index, const LinkedNode& node, Property property) {
  if (!index.has(node.id, property)) return std::nullopt;
  const std::string_view text = index.text(node.id, property);
  if (node.facts->isFloat()) return parseFloat(text);
  return parseInteger(text);
}

std::optional<Number> constantAt(const Links& links, Place place) {
  if (place == nowhere || links.nodes[place].literal.isWritable) return std::nullopt;
  return links.nodes[place].literal.number;
}

std::optional<bool> answerAt(const Links& links, Place condition) {
  const std::optional<Number> number = constantAt(links, condition);
  return number ? std::optional(!isZero(*number)) : std::nullopt;
}

}  // namespace vireo::genicam

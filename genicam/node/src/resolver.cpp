// SPDX-License-Identifier: MIT
#include "resolver.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "access.h"
#include "document.h"
#include "one_line.h"
#include "register_range.h"

namespace vireo::genicam {
namespace {

// Texts behind a link are copied to every node that links there, so a long one is not passed on.
constexpr std::size_t kMaxSharedText = 256;

bool isFormula(ElementKind kind) {
  return kind == ElementKind::Converter || kind == ElementKind::IntConverter ||
         kind == ElementKind::SwissKnife || kind == ElementKind::IntSwissKnife;
}

bool isFloat(ElementKind kind) {
  return kind == ElementKind::Float || kind == ElementKind::FloatReg || kind == ElementKind::Converter ||
         kind == ElementKind::SwissKnife;
}

std::optional<Number> numberOf(const Properties& properties, Property property, ElementKind kind) {
  if (isFloat(kind)) return properties.number(property);
  return properties.integer(property);
}

std::optional<Number> boundOf(const Properties& properties, Property property, ElementKind kind) {
  if (property != Property::Max || isFloat(kind)) return numberOf(properties, property, kind);
  return parseUpperBound(properties.text(property));
}

bool isText(ElementKind kind) {
  return kind == ElementKind::String || kind == ElementKind::StringReg;
}

// A text gets its value from a text, a number from a number.
bool canStandBehind(ElementKind kind, ElementKind behind) {
  const bool noValue = behind == ElementKind::Category || behind == ElementKind::Command ||
                       behind == ElementKind::Register || behind == ElementKind::Other;
  return !noValue && isText(kind) == isText(behind);
}

bool isIndexedTarget(pugi::xml_node child) {
  return std::strcmp(child.name(), "pValueIndexed") == 0 || std::strcmp(child.name(), "pValueDefault") == 0;
}

}  // namespace

Resolver::Resolver(const NodeIndex& nodeIndex) : index(nodeIndex), slots(nodeIndex.size(), 0) {}

Resolver::State& Resolver::state(NodeId id) {
  if (slots[id] == 0) {
    State& made = states.emplace_back(index[id].element, index, structureOf(id));
    slots[id] = static_cast<std::uint32_t>(states.size());
    made.behind = target(id, Property::PValue);
  }
  return states[slots[id] - 1];
}

// What the struct around an entry says for all of its entries; null for any other node.
const Traits* Resolver::structureOf(NodeId id) {
  const pugi::xml_node parent = index[id].element.parent();
  if (index[id].kind != ElementKind::StructEntry || std::strcmp(parent.name(), "StructReg") != 0)
    return nullptr;
  const auto known = structures.find(parent);
  if (known != structures.end()) return &known->second;
  return &structures.emplace(parent, Traits(Properties(parent), index)).first->second;
}

std::optional<NodeId> Resolver::target(NodeId id, Property link) {
  const Properties& own = properties(id);
  return own.has(link) ? index.find(own.text(link)) : std::nullopt;
}

void Resolver::markWritable(const std::vector<Feature>& features) {
  std::vector<NodeId> open;
  for (const Feature& feature : features) open.push_back(feature.id);
  while (!open.empty()) {
    const NodeId id = open.back();
    open.pop_back();
    State& own = state(id);
    if (std::exchange(own.reached, true) || own.traits.allowed() == AccessMode::ReadOnly) continue;
    own.writable = true;
    const std::vector<NodeId> targets = writeTargets(id);
    open.insert(open.end(), targets.begin(), targets.end());
  }
}

std::optional<Number> Resolver::ownLiteral(NodeId id) {
  const Properties& own = properties(id);
  switch (index[id].kind) {
    case ElementKind::Integer:
    case ElementKind::Float:
    case ElementKind::Enumeration:
      if (own.has(Property::PIndex)) return std::nullopt;
      return numberOf(own, Property::Value, index[id].kind);
    case ElementKind::IntSwissKnife:
    case ElementKind::SwissKnife:
      return numberOf(own, Property::Formula, index[id].kind);
    case ElementKind::Boolean:
      if (const std::optional<bool> value = parseBoolean(own.text(Property::Value)))
        return Number(std::int64_t{*value});
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

// A node that links to a number has that number; a Boolean compares it, a converter computes with it.
Resolver::Literal Resolver::passedOn(NodeId id, const Literal& behind) {
  if (!behind.number || isFormula(index[id].kind)) return {};
  if (index[id].kind != ElementKind::Boolean) return behind;
  const std::int64_t on = properties(id).integer(Property::OnValue).value_or(1);
  return {Number(std::int64_t{toInteger(*behind.number) == on}), behind.writable};
}

const Resolver::Literal& Resolver::literalBehind(NodeId id) {
  std::vector<NodeId> chain;
  std::optional<NodeId> next = id;
  while (next && state(*next).finding == Progress::Open) {
    state(*next).finding = Progress::Active;
    chain.push_back(*next);
    next = state(*next).behind;
  }
  // Ends at what is known, at a literal, at a dangling name, or in a circle, which has no number.
  Literal behind;
  if (next) behind = state(*next).literal;
  for (; !chain.empty(); chain.pop_back()) {
    State& own = state(chain.back());
    const bool linked = own.properties.has(Property::PValue);
    own.literal = linked ? passedOn(chain.back(), behind) : Literal{ownLiteral(chain.back()), own.writable};
    own.finding = Progress::Done;
    behind = own.literal;
  }
  return state(id).literal;
}

// The number, fixed for good, of a node that a property names.
std::optional<Number> Resolver::constant(std::optional<NodeId> id) {
  if (!id) return std::nullopt;
  const Literal& literal = literalBehind(*id);
  return literal.writable ? std::nullopt : literal.number;
}

std::vector<NodeId> Resolver::valueTargets(NodeId id) {
  std::vector<NodeId> targets;
  if (const std::optional<NodeId> behind = state(id).behind) targets.push_back(*behind);
  if (!targets.empty() || !properties(id).has(Property::PIndex)) return targets;
  for (pugi::xml_node child = index[id].element.first_child(); child; child = child.next_sibling()) {
    if (!isIndexedTarget(child)) continue;
    if (const std::optional<NodeId> found = index.find(textOf(child))) targets.push_back(*found);
  }
  return targets;
}

// A value written to a node goes to its copies too.
std::vector<NodeId> Resolver::writeTargets(NodeId id) {
  std::vector<NodeId> targets = valueTargets(id);
  const pugi::xml_node element = index[id].element;
  for (auto copy = element.child("pValueCopy"); copy; copy = copy.next_sibling("pValueCopy")) {
    if (const std::optional<NodeId> found = index.find(textOf(copy))) targets.push_back(*found);
  }
  return targets;
}

const Resolved& Resolver::resolve(NodeId wanted) {
  std::vector<NodeId> open = {wanted};
  while (!open.empty()) {
    const NodeId id = open.back();
    if (state(id).resolving == Progress::Open) {
      state(id).resolving = Progress::Active;
      for (const NodeId behind : valueTargets(id)) {
        if (state(behind).resolving == Progress::Open) open.push_back(behind);
      }
      continue;
    }
    open.pop_back();
    if (state(id).resolving == Progress::Done) continue;
    combine(id);
    state(id).resolving = Progress::Done;
  }
  return state(wanted).resolved;
}

// Everything behind `id` is resolved, except where it leads back to itself.
void Resolver::combine(NodeId id) {
  findFault(id);
  findBounds(id);
  const Traits& traits = state(id).traits;
  Resolved& own = state(id).resolved;
  own.access = narrowed(accessByItself(id), traits.allowed());
  const auto isNever = [&](std::optional<NodeId> condition) {
    const std::optional<Number> answer = constant(condition);
    return answer && isZero(*answer);
  };
  if (isNever(traits.isImplemented) || isNever(traits.isAvailable)) own.access = AccessMode::NotAvailable;
  const std::optional<Number> locked = constant(traits.isLocked);
  if (locked && !isZero(*locked) && own.access != AccessMode::NotAvailable) own.access = AccessMode::ReadOnly;
}

AccessMode Resolver::accessByItself(NodeId id) {
  const Properties& own = properties(id);
  switch (index[id].kind) {
    case ElementKind::IntReg:
    case ElementKind::MaskedIntReg:
    case ElementKind::StructEntry:
    case ElementKind::FloatReg:
    case ElementKind::StringReg:
    case ElementKind::Register:
      return traits(id).access.value_or(AccessMode::ReadOnly);
    case ElementKind::SwissKnife:
    case ElementKind::IntSwissKnife:
      return AccessMode::ReadOnly;
    case ElementKind::Category:
    case ElementKind::Other:
      return AccessMode::ReadWrite;
    default:
      break;
  }
  if (const std::optional<NodeId> behind = state(id).behind) return state(*behind).resolved.access;
  if (own.has(Property::PIndex)) return sharedByIndexed(id);
  return index[id].kind == ElementKind::Command ? AccessMode::WriteOnly : AccessMode::ReadWrite;
}

// What the index selects is not known yet: all of it counts but what is never there, and where read-only
// meets write-only nothing is ruled out.
AccessMode Resolver::sharedByIndexed(NodeId id) {
  AccessMode shared = AccessMode::ReadWrite;
  const pugi::xml_node element = index[id].element;
  bool anyOffered = element.child("ValueIndexed") || element.child("ValueDefault");
  const std::vector<NodeId> targets = valueTargets(id);
  for (const NodeId behind : targets) {
    const AccessMode access = state(behind).resolved.access;
    if (access == AccessMode::NotAvailable) continue;
    anyOffered = true;
    shared = narrowed(shared, access);
  }
  if (!anyOffered && !targets.empty()) return AccessMode::NotAvailable;
  return shared == AccessMode::NotAvailable ? AccessMode::ReadWrite : shared;
}

void Resolver::findFault(NodeId id) {
  std::string& fault = state(id).resolved.fault;
  const Properties& own = properties(id);
  if (own.has(Property::PValue)) {
    const std::optional<NodeId> behind = state(id).behind;
    if (!behind) {
      fault = fmt::format("pValue '{}' names no node", oneLine(own.text(Property::PValue)));
    } else if (state(*behind).resolving == Progress::Active) {
      fault = "its pValue leads back to itself";
    } else if (!canStandBehind(index[id].kind, index[*behind].kind)) {
      fault =
          fmt::format("pValue '{}' names a {}", oneLine(index[*behind].name), index[*behind].element.name());
    } else if (!state(*behind).resolved.fault.empty()) {
      fault = fmt::format("pValue '{}' cannot be understood either", oneLine(index[*behind].name));
    }
    return;
  }
  const bool number = index[id].kind == ElementKind::Integer || index[id].kind == ElementKind::Float ||
                      index[id].kind == ElementKind::Enumeration;
  const std::string value = own.text(Property::Value);
  if (value.empty()) return;
  if (number && !numberOf(own, Property::Value, index[id].kind)) {
    fault = fmt::format("Value '{}' is no number", oneLine(value));
  }
  if (index[id].kind == ElementKind::Boolean && !parseBoolean(value)) {
    fault = fmt::format("Value '{}' is neither true nor false", oneLine(value));
  }
}

void Resolver::findBounds(NodeId id) {
  State& own = state(id);
  const ElementKind kind = index[id].kind;
  Resolved& found = own.resolved;
  // A converter's formula is not evaluated, so the raw range behind it says nothing of its own.
  if (const std::optional<NodeId> behind = state(id).behind; behind && !isFormula(kind)) {
    const Resolved& raw = state(*behind).resolved;
    found.min = raw.min;
    found.max = raw.max;
    found.increment = raw.increment;
    found.unit = raw.unit;
    found.representation = raw.representation;
    found.text = raw.text;
  } else if (const std::optional<RegisterRange> range =
                 registerRange(kind, own.properties, own.traits.isSigned == true)) {
    found.min = range->min;
    found.max = range->max;
  }
  takeBounds(id);
  found.unit = shared(id, Property::Unit, found.unit);
  found.representation = shared(id, Property::Representation, found.representation);
  if (kind == ElementKind::String) found.text = shared(id, Property::Value, found.text);
}

// What the node says itself, over what it has from its register or the node behind it.
void Resolver::takeBounds(NodeId id) {
  Resolved& found = state(id).resolved;
  const ElementKind kind = index[id].kind;
  const auto said = [&](Property literalBound, Property link) {
    const std::optional<Number> bound = boundOf(properties(id), literalBound, kind);
    return bound ? bound : constant(target(id, link));
  };
  const auto [rawMin, rawMax] = std::pair(found.min, found.max);
  const auto clash = [&] { return found.min && found.max && toFloat(*found.max) < toFloat(*found.min); };
  if (const auto min = said(Property::Min, Property::PMin)) found.min = min;
  if (const auto max = said(Property::Max, Property::PMax)) found.max = max;
  // 0xFFFFFFFFFFFFFFFF behind pMax means no bound, and wraps to -1.
  if (clash()) found.max = rawMax;
  if (clash()) found.min = rawMin;
  const std::optional<Number> increment = said(Property::Inc, Property::PInc);
  if (increment && toFloat(*increment) > 0) found.increment = increment;
}

std::string_view Resolver::shared(NodeId id, Property property, std::string_view behind) {
  std::string own = properties(id).text(property);
  if (own.empty() || own.size() > kMaxSharedText) return behind;
  return texts.emplace_back(std::move(own));
}

}  // namespace vireo::genicam

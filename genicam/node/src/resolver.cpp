// SPDX-License-Identifier: MIT
#include "resolver.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <tuple>
#include <utility>

#include "access.h"
#include "document.h"
#include "register_range.h"
#include "utf8.h"

namespace vireo::genicam {
namespace {

// Texts behind a link are copied to every node that links there, so a long one is not passed on.
constexpr std::size_t kMaxSharedText = 256;

std::string_view shareable(std::string_view text) {
  return text.size() > kMaxSharedText ? std::string_view() : text;
}

// 2^63 and more behind an int64 bounds nothing.
constexpr Number kNoUpperBound = std::numeric_limits<std::int64_t>::max();

bool allowsWriting(AccessMode access) {
  return access == AccessMode::ReadWrite || access == AccessMode::WriteOnly;
}

bool isFloat(ElementKind kind) {
  return kind == ElementKind::Float || kind == ElementKind::FloatReg || kind == ElementKind::Converter ||
         kind == ElementKind::SwissKnife;
}

Number inKind(const Number& number, ElementKind kind) {
  return isFloat(kind) ? Number(toFloat(number)) : Number(toInteger(number));
}

std::string written(const Number& number) {
  return std::visit([](auto held) { return fmt::format("{}", held); }, number);
}

bool isKnife(ElementKind kind) {
  return kind == ElementKind::SwissKnife || kind == ElementKind::IntSwissKnife;
}

bool isFormula(ElementKind kind) {
  return kind == ElementKind::Converter || kind == ElementKind::IntConverter || isKnife(kind);
}

bool isRegister(ElementKind kind) {
  switch (kind) {
    case ElementKind::IntReg:
    case ElementKind::MaskedIntReg:
    case ElementKind::StructEntry:
    case ElementKind::FloatReg:
    case ElementKind::StringReg:
    case ElementKind::Register:
      return true;
    default:
      return false;
  }
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

bool hasIndexedLiteral(pugi::xml_node element) {
  return element.child("ValueIndexed") || element.child("ValueDefault");
}

bool hasIndexedValue(pugi::xml_node element) {
  return hasIndexedLiteral(element) || element.child("pValueIndexed") || element.child("pValueDefault");
}

}  // namespace

Resolver::Resolver(const NodeIndex& nodeIndex) : index(nodeIndex), slots(nodeIndex.size(), nullptr) {}

Resolver::State& Resolver::state(NodeId id) {
  State*& slot = slots[id];
  if (slot == nullptr) {
    slot = &states.emplace_back(index[id].element, index, structureOf(id));
    slot->behind = target(id, Property::PValue);
  }
  return *slot;
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
  const Properties& said = properties(id);
  return said.has(link) ? index.find(said.text(link)) : std::nullopt;
}

// A register's index finds its address instead.
bool Resolver::isIndexed(NodeId id) {
  const Properties& said = properties(id);
  return said.has(Property::PIndex) && !said.has(Property::PValue) && hasIndexedValue(index[id].element);
}

std::vector<NodeId> Resolver::valueTargets(NodeId id) {
  std::vector<NodeId> targets;
  if (const std::optional<NodeId> behind = state(id).behind) targets.push_back(*behind);
  if (!isIndexed(id)) return targets;
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

void Resolver::markWritable(const std::vector<Feature>& features) {
  std::vector<NodeId> open;
  for (const Feature& feature : features) open.push_back(feature.id);
  while (!open.empty()) {
    const NodeId id = open.back();
    open.pop_back();
    if (std::exchange(state(id).reached, true) || !allowsWriting(ownAccess(id))) continue;
    state(id).writable = true;
    const std::vector<NodeId> targets = writeTargets(id);
    open.insert(open.end(), targets.begin(), targets.end());
  }
}

Resolver::Literal Resolver::literalOf(NodeId id, Property property) {
  const Properties& said = properties(id);
  if (!said.has(property)) return {};
  if (isFloat(index[id].kind)) return {said.number(property)};
  const std::string text = said.text(property);
  const std::optional<std::int64_t> number = parseInteger(text);
  return {number, number && *number < 0 && !text.starts_with('-')};
}

Resolver::Literal Resolver::ownLiteral(NodeId id) {
  switch (index[id].kind) {
    case ElementKind::Integer:
    case ElementKind::Float:
    case ElementKind::Enumeration:
      return isIndexed(id) ? Literal() : literalOf(id, Property::Value);
    case ElementKind::IntSwissKnife:
    case ElementKind::SwissKnife:
      return literalOf(id, Property::Formula);
    case ElementKind::Boolean:
      if (const std::optional<bool> value = parseBoolean(properties(id).text(Property::Value)))
        return {Number(std::int64_t{*value})};
      return {};
    default:
      return {};
  }
}

// A node that links to a number has that number; a Boolean compares it, a converter computes with it.
Resolver::Literal Resolver::passedOn(NodeId id, const Literal& behind) {
  if (!behind.number || isFormula(index[id].kind)) return {};
  if (index[id].kind != ElementKind::Boolean) return behind;
  const std::int64_t on = properties(id).integer(Property::OnValue).value_or(1);
  return {Number(std::int64_t{toInteger(*behind.number) == on}), false, behind.writable};
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
  bool inCircle = next && state(*next).finding == Progress::Active;
  Literal behind;
  if (next) behind = state(*next).literal;
  for (; !chain.empty(); chain.pop_back()) {
    const NodeId at = chain.back();
    State& link = state(at);
    link.circular = inCircle;
    inCircle = inCircle && at != *next;
    link.literal = link.properties.has(Property::PValue) ? passedOn(at, behind) : ownLiteral(at);
    if (!link.properties.has(Property::PValue)) link.literal.writable = link.writable;
    link.finding = Progress::Done;
    behind = link.literal;
  }
  return state(id).literal;
}

// The number, fixed for good, of a node that a property names.
Resolver::Literal Resolver::constant(std::optional<NodeId> id) {
  if (!id) return {};
  const Literal& literal = literalBehind(*id);
  return literal.writable ? Literal() : literal;
}

// The answer to a condition: nothing where there is none or only the camera knows.
std::optional<bool> Resolver::answer(std::optional<NodeId> condition) {
  if (!condition) return std::nullopt;
  const std::optional<Number> number = constant(condition).number;
  return number ? std::optional(!isZero(*number)) : std::nullopt;
}

const Resolved& Resolver::resolve(NodeId wanted) {
  std::vector<NodeId> open = {wanted};
  std::vector<NodeId> early;
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
    if (state(id).early) early.push_back(id);
  }
  for (const NodeId id : early) state(id).resolving = Progress::Open;
  return state(wanted).resolved;
}

// Everything behind `id` is resolved, except where it leads back to itself. Where pValue leads back through
// an index, what is found holds for now only, and is found again once the indexed node is done.
void Resolver::combine(NodeId id) {
  const Properties& said = properties(id);
  Resolved& found = state(id).resolved;
  found = {};
  found.fault = kept(said.has(Property::PValue) ? linkFault(id)
                     : isIndexed(id)            ? indexFault(id)
                                                : valueFault(id));
  state(id).early = found.fault.empty() && isEarly(state(id).behind);
  inherit(id);
  takeBounds(id);
  takeTexts(id);
  const Traits& allowed = traits(id);
  found.access = narrowed(accessBehind(id), ownAccess(id));
  if (answer(allowed.implementedBy) == false || answer(allowed.availableBy) == false)
    found.access = AccessMode::NotAvailable;
  const bool hasValue = index[id].kind != ElementKind::Category;
  if (hasValue && found.access != AccessMode::NotAvailable && answer(allowed.lockedBy) == true)
    found.access = AccessMode::ReadOnly;
}

bool Resolver::isEarly(std::optional<NodeId> behind) {
  return behind && (state(*behind).resolving == Progress::Active || state(*behind).early);
}

// What a node allows, whatever lies behind it.
AccessMode Resolver::ownAccess(NodeId id) {
  const Traits& allowed = traits(id);
  const ElementKind kind = index[id].kind;
  const bool literalCommand =
      kind == ElementKind::Command && !properties(id).has(Property::PValue) && !isIndexed(id);
  if (isKnife(kind)) return narrowed(AccessMode::ReadOnly, allowed.allowed());
  if (isRegister(kind) && !allowed.access) return narrowed(AccessMode::ReadOnly, allowed.allowed());
  if (literalCommand && !allowed.access && !allowed.imposed) return AccessMode::WriteOnly;
  return allowed.allowed();
}

AccessMode Resolver::accessBehind(NodeId id) {
  if (const std::optional<NodeId> behind = state(id).behind) return state(*behind).resolved.access;
  return isIndexed(id) ? sharedByIndexed(id) : AccessMode::ReadWrite;
}

// What the index selects is not known yet: all of it counts but what is never there or not understood, and
// where read-only meets write-only nothing is ruled out.
AccessMode Resolver::sharedByIndexed(NodeId id) {
  AccessMode common = AccessMode::ReadWrite;
  bool anyOffered = hasIndexedLiteral(index[id].element);
  for (const NodeId behind : valueTargets(id)) {
    const AccessMode access = state(behind).resolved.access;
    if (access == AccessMode::NotAvailable || !objection(id, behind).empty()) continue;
    anyOffered = true;
    common = narrowed(common, access);
  }
  if (!anyOffered) return AccessMode::NotAvailable;
  return common == AccessMode::NotAvailable ? AccessMode::ReadWrite : common;
}

// Why a node cannot have its value from the one behind it; empty when it can.
std::string Resolver::objection(NodeId id, NodeId behind) {
  if (!canStandBehind(index[id].kind, index[behind].kind))
    return fmt::format("names a {}", index[behind].element.name());
  return state(behind).resolved.fault.empty() ? "" : "cannot be understood either";
}

// Whether pValue alone leads back to it.
bool Resolver::isCircular(NodeId id) {
  literalBehind(id);
  return state(id).circular;
}

std::string Resolver::linkFault(NodeId id) {
  const std::optional<NodeId> behind = state(id).behind;
  if (behind && state(*behind).resolving == Progress::Active && isCircular(id))
    return "its pValue leads back to itself";
  const std::string why = behind ? objection(id, *behind) : "names no node";
  if (why.empty()) return "";
  return fmt::format("pValue '{}' {}", oneLine(properties(id).text(Property::PValue)), why);
}

std::string Resolver::indexFault(NodeId id) {
  const std::vector<NodeId> targets = valueTargets(id);
  const bool sound = hasIndexedLiteral(index[id].element) ||
                     std::any_of(targets.begin(), targets.end(),
                                 [&](NodeId behind) { return objection(id, behind).empty(); });
  return sound ? "" : "nothing that its pIndex selects can be understood";
}

std::string Resolver::valueFault(NodeId id) {
  const Properties& said = properties(id);
  const ElementKind kind = index[id].kind;
  const bool number =
      kind == ElementKind::Integer || kind == ElementKind::Float || kind == ElementKind::Enumeration;
  const bool sound =
      !said.has(Property::Value) || (!number && kind != ElementKind::Boolean) || ownLiteral(id).number;
  if (sound) return "";
  return fmt::format("Value '{}' is {}", oneLine(said.text(Property::Value)),
                     number ? "no number" : "neither true nor false");
}

// What a node has from the one behind it, or from its own register. A converter's formula is not evaluated,
// so of the node behind it only the unit counts.
void Resolver::inherit(NodeId id) {
  const State& node = state(id);
  const ElementKind kind = index[id].kind;
  Resolved& found = state(id).resolved;
  if (!node.behind) {
    const auto range = registerRange(kind, node.properties, node.traits.isSigned == true);
    if (range) std::tie(found.min, found.max) = std::pair(range->min, range->max);
    return;
  }
  const Resolved& behind = state(*node.behind).resolved;
  found.unit = shareable(behind.unit);
  if (isFormula(kind)) return;
  if (behind.min) found.min = inKind(*behind.min, kind);
  if (behind.max) found.max = inKind(*behind.max, kind);
  found.increment = behind.increment;
  found.representation = shareable(behind.representation);
  found.text = shareable(behind.text);
}

// What the node says itself, over what it inherits, unless that leaves no value at all.
void Resolver::takeBounds(NodeId id) {
  Resolved& found = state(id).resolved;
  const ElementKind kind = index[id].kind;
  const auto said = [&](Property bound, Property link) {
    const Literal literal = literalOf(id, bound);
    return literal.number ? literal : constant(target(id, link));
  };
  const auto inherited = std::pair(found.min, found.max);
  if (const Literal min = said(Property::Min, Property::PMin); min.number)
    found.min = inKind(*min.number, kind);
  if (const Literal max = said(Property::Max, Property::PMax); max.number)
    found.max = max.wrapped ? inKind(kNoUpperBound, kind) : inKind(*max.number, kind);
  if (found.min && found.max && *found.max < *found.min) {
    found.boundsFault =
        kept(fmt::format("its minimum {} is above its maximum {}", written(*found.min), written(*found.max)));
    std::tie(found.min, found.max) = inherited;
  }
  const Literal increment = said(Property::Inc, Property::PInc);
  if (increment.number && toFloat(*increment.number) > 0) found.increment = increment.number;
}

void Resolver::takeTexts(NodeId id) {
  const Properties& said = properties(id);
  Resolved& found = state(id).resolved;
  const auto take = [&](std::string_view& text, Property property) {
    if (said.has(property)) text = kept(said.text(property));
  };
  take(found.unit, Property::Unit);
  take(found.representation, Property::Representation);
  if (index[id].kind == ElementKind::String && !said.has(Property::PValue)) take(found.text, Property::Value);
}

std::string_view Resolver::kept(std::string text) {
  if (text.empty()) return {};
  return texts.emplace_back(std::move(text));
}

}  // namespace vireo::genicam

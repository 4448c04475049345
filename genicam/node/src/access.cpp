// SPDX-License-Identifier: MIT
#include "access.h"

#include <fmt/format.h>

#include <algorithm>

#include "literals.h"
#include "utf8.h"

namespace vireo::genicam {
namespace {

// Why a node cannot have its value from another that makes this offer. A text gets its value from a text, a
// number from a number.
Fault objection(const LinkedNode& node, const LinkedNode& behind, const Offer& offer) {
  const ElementFacts& facts = *behind.facts;
  if (!facts.hasValue() || node.facts->isText() != facts.isText()) return Fault::WrongKind;
  return offer.fault == Fault::None ? Fault::None : Fault::FaultBehind;
}

bool hasIndexedLiteral(const NodeIndex& index, const LinkedNode& node) {
  return index.has(node.id, Property::ValueIndexed) || index.has(node.id, Property::ValueDefault);
}

// Whether its Value, if it has one, is a number, or true or false for a Boolean.
Fault valueFault(const NodeIndex& index, const LinkedNode& node) {
  if (node.literal.number || !index.has(node.id, Property::Value)) return Fault::None;
  if (node.facts->isBoolean()) return Fault::NotABoolean;
  return node.facts->hasNumber() ? Fault::NotANumber : Fault::None;
}

Fault linkFault(const Links& links, const LinkedNode& node) {
  if (node.isCircular) return Fault::Circle;
  const LinkedNode& behind = links.nodes[node.behind];
  return objection(node, behind, behind.offer);
}

// Which of its nodes the index selects is known to the camera alone: what all of them allow is allowed,
// without those that are never there or not understood. If one can only be read and another only be written,
// both are possible.
Offer indexedOffer(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  AccessMode common = AccessMode::ReadWrite;
  bool isUnderstood = hasIndexedLiteral(index, node);
  bool isOffered = isUnderstood;
  for (std::size_t i = node.firstTarget; i < node.firstCopy; ++i) {
    const LinkedNode& target = links.nodes[links.targets[i]];
    if (objection(node, target, target.lastOffer) != Fault::None) continue;
    isUnderstood = true;
    if (target.lastOffer.access == AccessMode::NotAvailable) continue;
    isOffered = true;
    common = narrowed(common, target.lastOffer.access);
  }
  if (!isUnderstood) return {AccessMode::NotAvailable, Fault::NothingIndexed};
  if (!isOffered) return {AccessMode::NotAvailable};
  return {common == AccessMode::NotAvailable ? AccessMode::ReadWrite : common};
}

Offer offerBehind(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  if (node.isIndexed) return indexedOffer(index, links, node);
  if (!index.has(node.id, Property::PValue)) return {AccessMode::ReadWrite, valueFault(index, node)};
  if (isDangling(index, node)) {
    const bool hasOwn = index.has(node.id, Property::Value);
    return {hasOwn ? AccessMode::ReadWrite : AccessMode::NotAvailable, valueFault(index, node)};
  }
  const Fault fault = linkFault(links, node);
  return {node.isCircular ? AccessMode::NotAvailable : links.nodes[node.behind].offer.access, fault};
}

}  // namespace

bool isDangling(const NodeIndex& index, const LinkedNode& node) {
  return node.behind == nowhere && !node.isCircular && index.has(node.id, Property::PValue);
}

AccessMode ownAccess(const NodeIndex& index, const LinkedNode& node) {
  const Traits& traits = node.traits;
  const ElementFacts& facts = *node.facts;
  if (facts.isSwissKnife()) return narrowed(AccessMode::ReadOnly, traits.allowed());
  if (facts.isRegister() && !traits.access) return narrowed(AccessMode::ReadOnly, traits.allowed());
  const bool isLiteral = !node.isIndexed && !index.has(node.id, Property::PValue);
  if (node.facts->kind == ElementKind::Command && isLiteral && !traits.access && !traits.imposed)
    return AccessMode::WriteOnly;
  return traits.allowed();
}

Offer offerOf(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  Offer offer = offerBehind(index, links, node);
  const Traits& traits = node.traits;
  offer.access = narrowed(offer.access, ownAccess(index, node));
  if (answerAt(links, traits.implementedBy) == false || answerAt(links, traits.availableBy) == false)
    offer.access = AccessMode::NotAvailable;
  const bool isLocked = node.facts->kind != ElementKind::Category && answerAt(links, traits.lockedBy) == true;
  if (isLocked) offer.access = narrowed(offer.access, AccessMode::ReadOnly);
  return offer;
}

std::string faultText(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  const auto link = [&](const std::string& why) {
    return fmt::format("pValue '{}' {}", oneLine(index.text(node.id, Property::PValue)), why);
  };
  const auto value = [&](const char* why) {
    return fmt::format("Value '{}' is {}", oneLine(index.text(node.id, Property::Value)), why);
  };
  switch (node.offer.fault) {
    case Fault::None:
      return "";
    case Fault::Circle:
      return "its pValue leads back to itself";
    case Fault::WrongKind:
      return link(fmt::format("names a {}", index[links.nodes[node.behind].id].element.name()));
    case Fault::FaultBehind:
      return link("cannot be understood either");
    case Fault::NothingIndexed:
      return "nothing that its pIndex selects can be understood";
    case Fault::NotANumber:
      return value("not a number");
    case Fault::NotABoolean:
      return value("neither true nor false");
  }
  return "";
}

}  // namespace vireo::genicam

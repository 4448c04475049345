// SPDX-License-Identifier: MIT
#include "links.h"

#include <utility>

namespace vireo::genicam {
namespace {

std::optional<AccessMode> accessMode(std::string_view text) {
  if (text == "RO") return AccessMode::ReadOnly;
  if (text == "WO") return AccessMode::WriteOnly;
  if (text == "RW") return AccessMode::ReadWrite;
  if (text == "NA" || text == "NI") return AccessMode::NotAvailable;
  return std::nullopt;
}

Visibility visibilityOf(std::string_view text) {
  if (text == "Expert") return Visibility::Expert;
  if (text == "Guru") return Visibility::Guru;
  if (text == "Invisible") return Visibility::Invisible;
  return Visibility::Beginner;
}

bool isIndexed(const NodeIndex& index, NodeId id) {
  const PropertySet& said = index[id].properties;
  const auto any = [&](auto... properties) { return (said.has(properties) || ...); };
  return said.has(Property::PIndex) && !said.has(Property::PValue) &&
         any(Property::ValueIndexed, Property::ValueDefault, Property::PValueIndexed,
             Property::PValueDefault);
}

template <typename T>
std::uint32_t endOf(const std::vector<T>& list) {
  return static_cast<std::uint32_t>(list.size());
}

}  // namespace

AccessMode narrowed(AccessMode a, AccessMode b) {
  if (a == AccessMode::ReadWrite || a == b) return b;
  if (b == AccessMode::ReadWrite) return a;
  return AccessMode::NotAvailable;
}

AccessMode Traits::allowed() const {
  return narrowed(access.value_or(AccessMode::ReadWrite), imposed.value_or(AccessMode::ReadWrite));
}

Links::Links(const NodeIndex& nodeIndex, const std::vector<Feature>& features)
    : index_(nodeIndex), places_(nodeIndex.size(), nowhere) {
  nodes.reserve(nodeIndex.size());  // so that adding a node moves none
  for (const Feature& feature : features) add(feature.id);
  for (std::size_t i = 0; i < nodes.size(); ++i) followValue(nodes[i]);
  shown.resize(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (i >= shown.size()) followValue(nodes[i]);
    followChoices(nodes[i]);
  }
  endOfOffers = endOf(nodes);
  for (std::size_t i = 0; i < features.size(); ++i) addEntries(nodes[i]);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (i < shown.size()) followBounds(nodes[i]);
    if (i < endOfOffers) {
      findTraits(nodes[i]);
    } else {
      followValue(nodes[i]);
      followChoices(nodes[i]);
    }
    followInputs(nodes[i]);
  }
  nodes.shrink_to_fit();
  sort();
}

Place Links::add(NodeId id) {
  if (places_[id] == nowhere) {
    places_[id] = endOf(nodes);
    LinkedNode& node = nodes.emplace_back();
    node.id = id;
    node.facts = &index_.facts(id);
  }
  return places_[id];
}

Place Links::linked(NodeId id, Property link) {
  const NodeId target = index_.target(id, link);
  return target == noNode ? nowhere : add(target);
}

void Links::followValue(LinkedNode& node) {
  node.behind = linked(node.id, Property::PValue);
}

void Links::followChoices(LinkedNode& node) {
  node.isIndexed = isIndexed(index_, node.id);
  hasIndexed |= node.isIndexed;
  node.firstTarget = endOf(targets);
  if (node.isIndexed) {
    addTargets(node.id, Property::PValueIndexed);
    addTargets(node.id, Property::PValueDefault);
  }
  node.firstCopy = endOf(targets);
  addTargets(node.id, Property::PValueCopy);
  node.endOfCopies = endOf(targets);
}

void Links::followBounds(LinkedNode& node) {
  node.minimum = linked(node.id, Property::PMin);
  node.maximum = linked(node.id, Property::PMax);
  node.increment = linked(node.id, Property::PInc);
}

void Links::followInputs(LinkedNode& node) {
  if (node.isIndexed) node.selector = linked(node.id, Property::PIndex);
  node.firstVariable = endOf(targets);
  if (node.facts->isFormula()) addVariables(node);
  node.endOfVariables = endOf(targets);
}

void Links::addTarget(pugi::xml_node link) {
  const NodeId target = index_.find(index_.textOf(link));
  if (target != noNode) targets.push_back(add(target));
}

// All that the children of one name lead to.
void Links::addTargets(NodeId id, Property property) {
  pugi::xml_node child = index_.element(id, property);
  for (; exists(child); child = child.next_sibling(child.name())) addTarget(child);
}

void Links::addEntries(LinkedNode& node) {
  node.firstEntry = endOf(entries);
  if (node.facts->kind == ElementKind::Enumeration) {
    pugi::xml_node element = index_[node.id].element.child("EnumEntry");
    for (; exists(element); element = element.next_sibling("EnumEntry")) addEntry(element);
  }
  node.endOfEntries = endOf(entries);
}

void Links::addEntry(pugi::xml_node element) {
  Entry entry;
  entry.name = index_.shown(element.attribute("Name").value());
  entry.firstCondition = endOf(targets);
  for (pugi::xml_node child = element.first_child(); exists(child); child = child.next_sibling()) {
    const std::optional<Property> property = elementNamed(child.name()).property;
    if (property == Property::Value && entry.value.empty()) entry.value = index_.textOf(child);
    if (property == Property::PIsImplemented || property == Property::PIsAvailable) addTarget(child);
  }
  entry.endOfConditions = endOf(targets);
  if (entry.value.empty()) entry.value = index_.shown(element.attribute("Value").value());
  entries.push_back(entry);
}

// Most formulas ask a register: then the other variables need not be followed.
void Links::addVariables(LinkedNode& node) {
  node.isOpenFormula = hasOpenVariable(node.id);
  if (node.isOpenFormula) return;
  pugi::xml_node child = index_.element(node.id, Property::PVariable);
  for (; exists(child); child = child.next_sibling(child.name()))
    targets.push_back(add(index_.find(index_.textOf(child))));
}

bool Links::hasOpenVariable(NodeId id) const {
  pugi::xml_node child = index_.element(id, Property::PVariable);
  for (; exists(child); child = child.next_sibling(child.name())) {
    const NodeId target = index_.find(index_.textOf(child));
    if (target == noNode || index_.facts(target).isRegister()) return true;
  }
  return false;
}

void Links::findTraits(LinkedNode& node) {
  const NodeId id = node.id;
  if (std::exchange(node.hasTraits, true)) return;
  Traits& traits = node.traits;
  if (const NodeId structure = index_[id].structure; structure != noNode) {
    LinkedNode& around = nodes[add(structure)];
    findTraits(around);
    traits = around.traits;
  }
  const auto take = [&](auto& trait, Property property, const auto& read) {
    if (index_.has(id, property)) trait = read(index_.text(id, property));
  };
  const auto link = [&](Place& condition, Property property) {
    if (index_.has(id, property)) condition = linked(id, property);
  };
  take(traits.access, Property::AccessMode, accessMode);
  take(traits.imposed, Property::ImposedAccessMode, accessMode);
  take(traits.isSigned, Property::Sign, [](std::string_view text) { return text == "Signed"; });
  take(traits.visibility, Property::Visibility, visibilityOf);
  link(traits.implementedBy, Property::PIsImplemented);
  link(traits.availableBy, Property::PIsAvailable);
  link(traits.lockedBy, Property::PIsLocked);
}

// Each walk goes behind pValue until it meets what is placed already, an end, or itself.
void Links::sort() {
  enum class State : std::uint8_t { Open, OnTheWay, Placed };
  std::vector<State> states(nodes.size(), State::Open);
  std::vector<Place> way;
  inOrder.reserve(nodes.size());
  for (Place start = 0; start < nodes.size(); ++start) {
    Place at = start;
    for (; at != nowhere && states[at] == State::Open; at = nodes[at].behind) {
      states[at] = State::OnTheWay;
      way.push_back(at);
    }
    if (at != nowhere && states[at] == State::OnTheWay) cut(at);
    for (; !way.empty(); way.pop_back()) {
      states[way.back()] = State::Placed;
      inOrder.push_back(way.back());
    }
  }
}

void Links::cut(Place circle) {
  for (Place at = circle; at != nowhere;) {
    nodes[at].isCircular = true;
    at = std::exchange(nodes[at].behind, nowhere);
  }
}

}  // namespace vireo::genicam

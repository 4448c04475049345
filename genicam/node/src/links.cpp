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
  nodes.reserve(nodeIndex.size());  // most are linked; growing would hold them twice
  for (const Feature& feature : features) add(feature.id);
  for (Place place = 0; place < nodes.size(); ++place) followValue(place);
  shown.resize(nodes.size());
  for (Place place = 0; place < nodes.size(); ++place) followChoices(place);
  endOfOffers = static_cast<Place>(nodes.size());
  for (Place place = 0; place < features.size(); ++place) addEntries(place);
  for (Place place = 0; place < nodes.size(); ++place) followNumbers(place);
  nodes.shrink_to_fit();
  sort();
}

Place Links::add(NodeId id) {
  if (places_[id] == nowhere) {
    places_[id] = static_cast<Place>(nodes.size());
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

// Adding a node may move the others, so none is held while links are followed.
void Links::followValue(Place place) {
  nodes[place].behind = linked(nodes[place].id, Property::PValue);
}

void Links::followChoices(Place place) {
  const NodeId id = nodes[place].id;
  if (place >= shown.size()) followValue(place);
  nodes[place].isIndexed = isIndexed(index_, id);
  nodes[place].firstTarget = static_cast<std::uint32_t>(targets.size());
  if (nodes[place].isIndexed) {
    hasIndexed = true;
    addTargets(id, Property::PValueIndexed);
    addTargets(id, Property::PValueDefault);
  }
  nodes[place].firstCopy = static_cast<std::uint32_t>(targets.size());
  addTargets(id, Property::PValueCopy);
  nodes[place].endOfCopies = static_cast<std::uint32_t>(targets.size());
}

void Links::followNumbers(Place place) {
  const NodeId id = nodes[place].id;
  if (place < endOfOffers) {
    findTraits(place);
  } else {
    followChoices(place);
  }
  if (place < shown.size()) {
    nodes[place].minimum = linked(id, Property::PMin);
    nodes[place].maximum = linked(id, Property::PMax);
    nodes[place].increment = linked(id, Property::PInc);
  }
  if (nodes[place].isIndexed) nodes[place].selector = linked(id, Property::PIndex);
  nodes[place].firstVariable = static_cast<std::uint32_t>(targets.size());
  addVariables(place);
  nodes[place].endOfVariables = static_cast<std::uint32_t>(targets.size());
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

void Links::addEntries(Place place) {
  nodes[place].firstEntry = static_cast<std::uint32_t>(entries.size());
  if (nodes[place].facts->kind == ElementKind::Enumeration) {
    pugi::xml_node element = index_[nodes[place].id].element.child("EnumEntry");
    for (; exists(element); element = element.next_sibling("EnumEntry")) addEntry(element);
  }
  nodes[place].endOfEntries = static_cast<std::uint32_t>(entries.size());
}

void Links::addEntry(pugi::xml_node element) {
  Entry entry;
  entry.name = index_.shown(element.attribute("Name").value());
  entry.firstCondition = static_cast<std::uint32_t>(targets.size());
  for (pugi::xml_node child = element.first_child(); exists(child); child = child.next_sibling()) {
    const std::optional<Property> property = elementNamed(child.name()).property;
    if (property == Property::Value && entry.value.empty()) entry.value = index_.textOf(child);
    if (property == Property::PIsImplemented || property == Property::PIsAvailable) addTarget(child);
  }
  entry.endOfConditions = static_cast<std::uint32_t>(targets.size());
  if (entry.value.empty()) entry.value = index_.shown(element.attribute("Value").value());
  entries.push_back(entry);
}

// Most formulas ask a register: then the other variables need not be followed.
void Links::addVariables(Place place) {
  const NodeId id = nodes[place].id;
  if (!nodes[place].facts->isFormula()) return;
  nodes[place].isOpenFormula = hasOpenVariable(id);
  if (nodes[place].isOpenFormula) return;
  pugi::xml_node child = index_.element(id, Property::PVariable);
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

void Links::findTraits(Place place) {
  const NodeId id = nodes[place].id;
  if (std::exchange(nodes[place].hasTraits, true)) return;
  Traits traits;
  if (const NodeId structure = index_[id].structure; structure != noNode) {
    const Place around = add(structure);
    findTraits(around);
    traits = nodes[around].traits;
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
  nodes[place].traits = traits;
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

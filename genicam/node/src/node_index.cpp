// SPDX-License-Identifier: MIT
#include "node_index.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

#include "number.h"
#include "utf8.h"

namespace vireo::genicam {
namespace {

using KindName = std::pair<std::string_view, ElementKind>;

constexpr std::array kKinds = {
    KindName{"AdvFeatureLock", ElementKind::Other},
    KindName{"Boolean", ElementKind::Boolean},
    KindName{"Category", ElementKind::Category},
    KindName{"Command", ElementKind::Command},
    KindName{"ConfRom", ElementKind::Other},
    KindName{"Converter", ElementKind::Converter},
    KindName{"Enumeration", ElementKind::Enumeration},
    KindName{"Float", ElementKind::Float},
    KindName{"FloatReg", ElementKind::FloatReg},
    KindName{"IntConverter", ElementKind::IntConverter},
    KindName{"IntKey", ElementKind::Other},
    KindName{"IntReg", ElementKind::IntReg},
    KindName{"IntSwissKnife", ElementKind::IntSwissKnife},
    KindName{"Integer", ElementKind::Integer},
    KindName{"MaskedIntReg", ElementKind::MaskedIntReg},
    KindName{"Node", ElementKind::Other},
    KindName{"Port", ElementKind::Other},
    KindName{"Register", ElementKind::Register},
    KindName{"SmartFeature", ElementKind::Other},
    KindName{"String", ElementKind::String},
    KindName{"StringReg", ElementKind::StringReg},
    KindName{"StructEntry", ElementKind::StructEntry},
    KindName{"StructReg", ElementKind::Other},
    KindName{"SwissKnife", ElementKind::SwissKnife},
    KindName{"TextDesc", ElementKind::Other},
};
static_assert(std::is_sorted(kKinds.begin(), kKinds.end()));

std::optional<ElementKind> kindOf(std::string_view element) {
  const auto first = [](const KindName& entry, std::string_view name) { return entry.first < name; };
  const auto* const found = std::lower_bound(kKinds.begin(), kKinds.end(), element, first);
  if (found == kKinds.end() || found->first != element) return std::nullopt;
  return found->second;
}

// An enumeration's entries have names of their own, an Extension is its maker's business: no nodes in either.
bool mayHoldNodes(std::string_view element) {
  return element != "EnumEntry" && element != "Extension";
}

// The element after `element` in document order, below `root`; not into what holds no nodes.
pugi::xml_node following(pugi::xml_node element, pugi::xml_node root) {
  const pugi::xml_node child = element.first_child();
  if (child && mayHoldNodes(element.name())) return child;
  for (; element != root; element = element.parent()) {
    if (const pugi::xml_node next = element.next_sibling()) return next;
  }
  return {};
}

}  // namespace

NodeIndex::NodeIndex(pugi::xml_node root) {
  for (pugi::xml_node element = following(root, root); element; element = following(element, root)) {
    if (element.first_attribute()) add(element);
  }
  sortKeys();
}

void NodeIndex::add(pugi::xml_node element) {
  const std::optional<ElementKind> kind = kindOf(element.name());
  if (!kind) return;
  std::string_view name = trimmed(element.attribute("Name").value());
  if (name.empty()) return;
  if (!isPlain(name)) name = repairedNames.emplace_back(plain(name));
  nodes.push_back({element, name, *kind});
}

void NodeIndex::sortKeys() {
  keys.reserve(nodes.size());
  for (NodeId id = 0; id < size(); ++id) keys.push_back({std::hash<std::string_view>()(nodes[id].name), id});
  std::sort(keys.begin(), keys.end(), [this](const Key& a, const Key& b) {
    if (a.hash != b.hash) return a.hash < b.hash;
    const int order = nodes[a.id].name.compare(nodes[b.id].name);
    return order != 0 ? order < 0 : a.id < b.id;
  });
}

bool NodeIndex::before(const Key& key, std::size_t hash, std::string_view name) const {
  return key.hash != hash ? key.hash < hash : nodes[key.id].name < name;
}

std::optional<NodeId> NodeIndex::find(std::string_view name) const {
  const std::size_t hash = std::hash<std::string_view>()(name);
  const auto found =
      std::lower_bound(keys.begin(), keys.end(), hash,
                       [&](const Key& key, std::size_t wanted) { return before(key, wanted, name); });
  if (found == keys.end() || nodes[found->id].name != name) return std::nullopt;
  return found->id;
}

}  // namespace vireo::genicam

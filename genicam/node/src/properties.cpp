// SPDX-License-Identifier: MIT
#include "properties.h"

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <string_view>
#include <utility>

#include "document.h"
#include "number.h"

namespace vireo::genicam {
namespace {

constexpr auto kCount = static_cast<std::size_t>(Property::Count);
static_assert(kCount <= 32, "a bit for each");

using PropertyName = std::pair<std::string_view, Property>;

// Shorter names first: most comparisons end at the length.
constexpr bool before(std::string_view a, std::string_view b) {
  return a.size() != b.size() ? a.size() < b.size() : a < b;
}

constexpr std::array kNames = {
    PropertyName{"Bit", Property::Bit},
    PropertyName{"Inc", Property::Inc},
    PropertyName{"LSB", Property::LSB},
    PropertyName{"MSB", Property::MSB},
    PropertyName{"Max", Property::Max},
    PropertyName{"Min", Property::Min},
    PropertyName{"Sign", Property::Sign},
    PropertyName{"Unit", Property::Unit},
    PropertyName{"pInc", Property::PInc},
    PropertyName{"pMax", Property::PMax},
    PropertyName{"pMin", Property::PMin},
    PropertyName{"Value", Property::Value},
    PropertyName{"Length", Property::Length},
    PropertyName{"pIndex", Property::PIndex},
    PropertyName{"pValue", Property::PValue},
    PropertyName{"Formula", Property::Formula},
    PropertyName{"OnValue", Property::OnValue},
    PropertyName{"ToolTip", Property::ToolTip},
    PropertyName{"pIsLocked", Property::PIsLocked},
    PropertyName{"AccessMode", Property::AccessMode},
    PropertyName{"Visibility", Property::Visibility},
    PropertyName{"Description", Property::Description},
    PropertyName{"DisplayName", Property::DisplayName},
    PropertyName{"pIsAvailable", Property::PIsAvailable},
    PropertyName{"Representation", Property::Representation},
    PropertyName{"pIsImplemented", Property::PIsImplemented},
    PropertyName{"ImposedAccessMode", Property::ImposedAccessMode},
};
static_assert(kNames.size() == kCount);
static_assert(std::is_sorted(kNames.begin(), kNames.end(), [](const PropertyName& a, const PropertyName& b) {
  return before(a.first, b.first);
}));

bool isEmpty(pugi::xml_node element) {
  return *element.value() == '\0' && !element.first_child();
}

}  // namespace

Properties::Properties(pugi::xml_node element) {
  const auto isBefore = [](const PropertyName& entry, std::string_view name) {
    return before(entry.first, name);
  };
  std::array<pugi::xml_node, kCount> found;
  for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
    const std::string_view name = child.name();
    const auto* const entry = std::lower_bound(kNames.begin(), kNames.end(), name, isBefore);
    if (entry == kNames.end() || entry->first != name || has(entry->second) || isEmpty(child)) continue;
    found[static_cast<std::size_t>(entry->second)] = child;
    present |= bit(entry->second);
  }
  children.reserve(static_cast<std::size_t>(std::popcount(present)));
  std::copy_if(found.begin(), found.end(), std::back_inserter(children),
               [](auto child) { return bool(child); });
}

std::string Properties::text(Property property) const {
  if (!has(property)) return {};
  return textOf(children[static_cast<std::size_t>(std::popcount(present & (bit(property) - 1)))]);
}

std::optional<std::int64_t> Properties::integer(Property property) const {
  return parseInteger(text(property));
}

std::optional<double> Properties::number(Property property) const {
  return parseFloat(text(property));
}

}  // namespace vireo::genicam

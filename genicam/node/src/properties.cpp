// SPDX-License-Identifier: MIT
#include "properties.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>
#include <utility>

#include "document.h"
#include "number.h"

namespace vireo::genicam {
namespace {

constexpr auto kCount = static_cast<std::size_t>(Property::Count);
static_assert(kCount <= 32, "a bit for each");
constexpr std::size_t kUsual = 8;  // properties of one element, mostly

using PropertyName = std::pair<std::string_view, Property>;

// Shorter names first: most comparisons end at the length or the first letter.
constexpr bool before(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return a.size() < b.size();
  return a.front() != b.front() ? a.front() < b.front() : a < b;
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
  for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
    const std::string_view name = child.name();
    const auto* const found = std::lower_bound(kNames.begin(), kNames.end(), name, isBefore);
    if (found == kNames.end() || found->first != name || has(found->second) || isEmpty(child)) continue;
    if (children.empty()) children.reserve(kUsual);
    children.insert(children.begin() + place(found->second), child);
    present |= bit(found->second);
  }
}

std::ptrdiff_t Properties::place(Property property) const {
  return std::popcount(present & (bit(property) - 1));
}

std::string Properties::text(Property property) const {
  return has(property) ? textOf(children.begin()[place(property)]) : std::string();
}

std::optional<std::int64_t> Properties::integer(Property property) const {
  return parseInteger(text(property));
}

std::optional<double> Properties::number(Property property) const {
  return parseFloat(text(property));
}

}  // namespace vireo::genicam

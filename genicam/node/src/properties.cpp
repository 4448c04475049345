// SPDX-License-Identifier: MIT
#include "properties.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "document.h"
#include "number.h"

namespace vireo::genicam {
namespace {

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
static_assert(kNames.size() == static_cast<std::size_t>(Property::Count));
static_assert(std::is_sorted(kNames.begin(), kNames.end(), [](const PropertyName& a, const PropertyName& b) {
  return before(a.first, b.first);
}));

}  // namespace

Properties::Properties(pugi::xml_node element) {
  const auto isBefore = [](const PropertyName& entry, std::string_view name) {
    return before(entry.first, name);
  };
  for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
    const std::string_view name = child.name();
    const auto* const found = std::lower_bound(kNames.begin(), kNames.end(), name, isBefore);
    if (found == kNames.end() || found->first != name) continue;
    pugi::xml_node& slot = children[static_cast<std::size_t>(found->second)];
    if (!slot) slot = child;
  }
}

std::string Properties::text(Property property) const {
  return has(property) ? textOf(at(property)) : std::string();
}

std::optional<std::int64_t> Properties::integer(Property property) const {
  return has(property) ? parseInteger(textOf(at(property))) : std::nullopt;
}

std::optional<double> Properties::number(Property property) const {
  return has(property) ? parseFloat(textOf(at(property))) : std::nullopt;
}

}  // namespace vireo::genicam

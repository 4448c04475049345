// SPDX-License-Identifier: MIT
#include "properties.h"

#include <algorithm>
#include <string_view>

#include "document.h"
#include "number.h"

namespace vireo::genicam {
namespace {

// In the order of Property, which is also byte order.
constexpr std::array<std::string_view, static_cast<std::size_t>(Property::Count)> kNames = {
    "AccessMode",
    "Bit",
    "Description",
    "DisplayName",
    "Formula",
    "ImposedAccessMode",
    "Inc",
    "LSB",
    "Length",
    "MSB",
    "Max",
    "Min",
    "OnValue",
    "Representation",
    "Sign",
    "ToolTip",
    "Unit",
    "Value",
    "Visibility",
    "pInc",
    "pIndex",
    "pIsAvailable",
    "pIsImplemented",
    "pIsLocked",
    "pMax",
    "pMin",
    "pValue"};
static_assert(std::is_sorted(kNames.begin(), kNames.end()));

}  // namespace

Properties::Properties(pugi::xml_node element) {
  for (const pugi::xml_node child : element.children()) {
    const std::string_view name = child.name();
    const auto* const found = std::lower_bound(kNames.begin(), kNames.end(), name);
    if (found == kNames.end() || *found != name) continue;
    pugi::xml_node& slot = children[static_cast<std::size_t>(found - kNames.begin())];
    if (!slot) slot = child;
  }
}

void Properties::inheritFrom(const Properties& structure) {
  constexpr std::array kShared = {
      Property::AccessMode,   Property::ImposedAccessMode, Property::Length,    Property::Sign,
      Property::PIsAvailable, Property::PIsImplemented,    Property::PIsLocked, Property::Visibility,
  };
  for (const Property property : kShared) {
    if (!has(property)) children[static_cast<std::size_t>(property)] = structure.at(property);
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

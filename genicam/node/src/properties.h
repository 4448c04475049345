// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <string>

namespace vireo::genicam {

/// The children of a node that say something of its kind, value, range or access.
enum class Property : std::uint8_t {
  AccessMode,
  Bit,
  Description,
  DisplayName,
  Formula,
  ImposedAccessMode,
  Inc,
  LSB,
  Length,
  MSB,
  Max,
  Min,
  OnValue,
  Representation,
  Sign,
  ToolTip,
  Unit,
  Value,
  Visibility,
  PInc,
  PIndex,
  PIsAvailable,
  PIsImplemented,
  PIsLocked,
  PMax,
  PMin,
  PValue,
  Count,
};

/// The first child of each property of one element, found in one walk over its children.
class Properties {
 public:
  explicit Properties(pugi::xml_node element);

  bool has(Property property) const { return !at(property).empty(); }
  std::string text(Property property) const;  ///< empty when there is none
  std::optional<std::int64_t> integer(Property property) const;
  std::optional<double> number(Property property) const;

 private:
  const pugi::xml_node& at(Property property) const { return children[static_cast<std::size_t>(property)]; }

  std::array<pugi::xml_node, static_cast<std::size_t>(Property::Count)> children;
};

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <vector>

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

/// The first child of each property of one element that is not empty, found in one walk over its children.
class Properties {
 public:
  explicit Properties(pugi::xml_node element);

  bool has(Property property) const { return (present & bit(property)) != 0; }
  std::string text(Property property) const;  ///< empty when there is none
  std::optional<std::int64_t> integer(Property property) const;
  std::optional<double> number(Property property) const;

 private:
  static std::uint32_t bit(Property property) { return std::uint32_t{1} << static_cast<unsigned>(property); }

  std::ptrdiff_t place(Property property) const;  ///< among the children

  // Most elements have few of the properties, and a description has very many elements.
  std::uint32_t present = 0;
  std::vector<pugi::xml_node> children;  ///< of those present, in the order of their bits
};

}  // namespace vireo::genicam

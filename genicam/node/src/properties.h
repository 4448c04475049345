// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vireo::genicam {

/// The children of a node that say something of its kind, value, range or access.
enum class Property : std::uint8_t {
  AccessMode,
  Bit,
  Constant,
  Description,
  DisplayName,
  Expression,
  Formula,
  FormulaFrom,
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
  ValueDefault,
  ValueIndexed,
  Visibility,
  PInc,
  PIndex,
  PIsAvailable,
  PIsImplemented,
  PIsLocked,
  PMax,
  PMin,
  PValue,
  PValueCopy,
  PValueDefault,
  PValueIndexed,
  PVariable,
  Count,
};

/// Which properties a node has, and in which order they came.
class PropertySet {
 public:
  bool has(Property property) const { return places_[at(property)] != 0; }
  void add(Property property) { places_[at(property)] = ++count_; }
  /// How many came before this one, which is there.
  std::uint32_t place(Property property) const { return places_[at(property)] - 1u; }

 private:
  static std::size_t at(Property property) { return static_cast<std::size_t>(property); }

  std::array<std::uint8_t, static_cast<std::size_t>(Property::Count)> places_{};  ///< counted from one
  std::uint8_t count_ = 0;
};

}  // namespace vireo::genicam

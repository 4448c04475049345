// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
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

/// Which properties a node has, a bit for each.
class PropertySet {
 public:
  bool has(Property property) const { return (bits_ & bit(property)) != 0; }
  void add(Property property) { bits_ |= bit(property); }
  /// How many of those that it has stand before this one.
  std::uint32_t place(Property property) const {
    return static_cast<std::uint32_t>(std::popcount(bits_ & (bit(property) - 1)));
  }
  /// Calls `visit` with each, in the order of `Property`.
  template <typename Visit>
  void forEach(const Visit& visit) const {
    for (std::uint64_t rest = bits_; rest != 0; rest &= rest - 1)
      visit(static_cast<Property>(std::countr_zero(rest)));
  }

 private:
  static std::uint64_t bit(Property property) { return std::uint64_t{1} << static_cast<unsigned>(property); }

  std::uint64_t bits_ = 0;
};
static_assert(static_cast<unsigned>(Property::Count) <= 64, "a bit for each");

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#include "register_range.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace vireo::genicam {
namespace {

// Bits of the field that an integer register shows.
std::optional<std::int64_t> fieldBits(const NodeIndex& index, NodeId id) {
  if (index[id].kind == ElementKind::IntReg) {
    const std::optional<std::int64_t> length = index.integer(id, Property::Length);
    return length && *length >= 1 && *length <= 8 ? std::optional(*length * 8) : std::nullopt;
  }
  if (index.has(id, Property::Bit)) return 1;
  const std::optional<std::int64_t> lsb = index.integer(id, Property::LSB);
  const std::optional<std::int64_t> msb = index.integer(id, Property::MSB);
  const auto isBit = [](const std::optional<std::int64_t>& bit) { return bit && *bit >= 0 && *bit < 64; };
  if (!isBit(lsb) || !isBit(msb)) return std::nullopt;
  return std::abs(*lsb - *msb) + 1;  // which of them is larger depends on the byte order
}

Range integerRange(std::int64_t bits, bool isSigned) {
  const std::int64_t magnitudeBits = isSigned ? bits - 1 : std::min<std::int64_t>(bits, 63);
  const auto max = static_cast<std::int64_t>((std::uint64_t{1} << magnitudeBits) - 1);
  return {Number(isSigned ? -max - 1 : std::int64_t{0}), Number(max)};
}

}  // namespace

std::optional<Range> registerRange(const NodeIndex& index, NodeId id, bool isSigned) {
  const ElementFacts& facts = index.facts(id);
  if (!facts.isRegister()) return std::nullopt;
  if (facts.isFloat()) {
    if (index.integer(id, Property::Length) != 4) return std::nullopt;
    constexpr double largestFloat = std::numeric_limits<float>::max();
    return Range{Number(-largestFloat), Number(largestFloat)};
  }
  if (facts.shownAs != NodeType::Integer) return std::nullopt;
  const std::optional<std::int64_t> bits = fieldBits(index, id);
  if (!bits) return std::nullopt;
  return integerRange(*bits, isSigned);
}

}  // namespace vireo::genicam

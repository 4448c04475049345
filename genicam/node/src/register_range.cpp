// SPDX-License-Identifier: MIT
#include "register_range.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace vireo::genicam {
namespace {

// Bits of the field that an integer register shows.
std::optional<std::int64_t> fieldBits(ElementKind kind, const Properties& properties) {
  if (kind == ElementKind::IntReg) {
    const std::optional<std::int64_t> length = properties.integer(Property::Length);
    return length && *length >= 1 && *length <= 8 ? std::optional(*length * 8) : std::nullopt;
  }
  if (properties.has(Property::Bit)) return 1;
  const std::optional<std::int64_t> lsb = properties.integer(Property::LSB);
  const std::optional<std::int64_t> msb = properties.integer(Property::MSB);
  const auto isBit = [](const std::optional<std::int64_t>& bit) { return bit && *bit >= 0 && *bit < 64; };
  if (!isBit(lsb) || !isBit(msb)) return std::nullopt;
  return std::abs(*lsb - *msb) + 1;  // which of them is larger depends on the byte order
}

RegisterRange integerRange(std::int64_t bits, bool isSigned) {
  const std::int64_t magnitudeBits = isSigned ? bits - 1 : std::min<std::int64_t>(bits, 63);
  const auto max = static_cast<std::int64_t>((std::uint64_t{1} << magnitudeBits) - 1);
  return {Number(isSigned ? -max - 1 : std::int64_t{0}), Number(max)};
}

}  // namespace

std::optional<RegisterRange> registerRange(ElementKind kind, const Properties& properties, bool isSigned) {
  if (kind == ElementKind::FloatReg) {
    if (properties.integer(Property::Length) != 4) return std::nullopt;
    constexpr double kLargest = std::numeric_limits<float>::max();
    return RegisterRange{Number(-kLargest), Number(kLargest)};
  }
  if (kind != ElementKind::IntReg && kind != ElementKind::MaskedIntReg && kind != ElementKind::StructEntry) {
    return std::nullopt;
  }
  const std::optional<std::int64_t> bits = fieldBits(kind, properties);
  if (!bits) return std::nullopt;
  return integerRange(*bits, isSigned);
}

}  // namespace vireo::genicam

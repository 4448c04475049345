// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace brio::fnd::datatype {

/// Element type codes: single bits, and composites formed by OR.
enum class DataType : std::int32_t {
  Array = 0x1,
  Invalid = 0x10,
  Char = 0x20,
  Byte = 0x40,
  Bool = 0x80,
  Int16 = 0x100,
  UInt16 = 0x200,
  Int32 = 0x400,
  UInt32 = 0x800,
  Int64 = 0x1000,
  UInt64 = 0x2000,
  Float = 0x10000,
  Double = 0x20000,
  Complex = 0x80000,
  String = Char | Array,
  ComplexFloat = Complex | Float,
  ComplexDouble = Complex | Double,
  Bitmask = 0x200000,
  Unspecified = 0x100000,
};

}  // namespace brio::fnd::datatype

// SPDX-License-Identifier: MIT
#pragma once

#include <boost/bimap.hpp>
#include <cstdint>
#include <string>

#include "brio/fnd/export.h"

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

using NameTable = boost::bimap<std::string, DataType>;

/// The names as the enumerators spell them, searchable from both sides. Made while the library loads and
/// never changed, so any thread may read it.
BRIO_EXPORT const NameTable& Names();

/// The same table with upper-case names.
BRIO_EXPORT const NameTable& UpperNames();

}  // namespace brio::fnd::datatype

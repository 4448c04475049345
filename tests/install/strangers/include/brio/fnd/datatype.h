// SPDX-License-Identifier: MIT
#pragma once

namespace brio::fnd::datatype {

enum class DataType : int {
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
  String = 0x21,
  ComplexFloat = 0x90000,
  ComplexDouble = 0xA0000,
  Bitmask = 0x200000,
  Unspecified = 0x100000,
};

}  // namespace brio::fnd::datatype

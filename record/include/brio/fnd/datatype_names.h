// SPDX-License-Identifier: MIT
#pragma once

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/assign/list_of.hpp>
#include <boost/bimap.hpp>
#include <string>

#include "brio/fnd/datatype.h"
#include "brio/fnd/export.h"

namespace brio::fnd::datatype {

using NameTable = boost::bimap<std::string, DataType>;

namespace detail {

BRIO_HIDDEN inline NameTable makeNames() {
  return boost::assign::list_of<NameTable::relation>  //
      ("Array", DataType::Array)                      //
      ("Invalid", DataType::Invalid)                  //
      ("Char", DataType::Char)                        //
      ("Byte", DataType::Byte)                        //
      ("Bool", DataType::Bool)                        //
      ("Int16", DataType::Int16)                      //
      ("UInt16", DataType::UInt16)                    //
      ("Int32", DataType::Int32)                      //
      ("UInt32", DataType::UInt32)                    //
      ("Int64", DataType::Int64)                      //
      ("UInt64", DataType::UInt64)                    //
      ("Float", DataType::Float)                      //
      ("Double", DataType::Double)                    //
      ("Complex", DataType::Complex)                  //
      ("String", DataType::String)                    //
      ("ComplexFloat", DataType::ComplexFloat)        //
      ("ComplexDouble", DataType::ComplexDouble)      //
      ("Bitmask", DataType::Bitmask)                  //
      ("Unspecified", DataType::Unspecified);
}

BRIO_HIDDEN inline NameTable makeUpperNames(const NameTable& names) {
  NameTable upper;
  for (const auto& row : names) {
    upper.insert({boost::algorithm::to_upper_copy(row.left), row.right});
  }
  return upper;
}

BRIO_HIDDEN inline const NameTable names = makeNames();
BRIO_HIDDEN inline const NameTable upperNames = makeUpperNames(names);

}  // namespace detail

/// The names as the enumerators spell them, searchable from both sides. Each library that includes this
/// header has tables of its own: made while it loads, never changed, so that any thread may read them, and
/// destroyed when it is unloaded.
BRIO_HIDDEN inline const NameTable& Names() {
  return detail::names;
}

/// The same table with upper-case names.
BRIO_HIDDEN inline const NameTable& UpperNames() {
  return detail::upperNames;
}

}  // namespace brio::fnd::datatype

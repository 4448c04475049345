// SPDX-License-Identifier: MIT
#include "brio/fnd/datatype.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/assign/list_of.hpp>
#include <locale>

namespace brio::fnd::datatype {
namespace {

NameTable makeNames() {
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

NameTable makeUpperNames(const NameTable& names) {
  NameTable upper;
  for (const auto& row : names) {
    upper.insert({boost::algorithm::to_upper_copy(row.left), row.right});
  }
  return upper;
}

const NameTable names = makeNames();
const NameTable upperNames = makeUpperNames(names);

}  // namespace

const NameTable& Names() {
  return names;
}

const NameTable& UpperNames() {
  return upperNames;
}

}  // namespace brio::fnd::datatype

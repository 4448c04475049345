// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <typeinfo>
#include <variant>
#include <vector>

#include "brio/fnd/datatype.h"
#include "brio/fnd/export.h"
#include "brio/fnd/record.h"

namespace vireo::common {

using brio::fnd::datatype::DataType;

/// The index of the alternative is part of the contract: 0 int, 1 float, 2 double, 3 text, 4 bool.
using ParameterValue = std::variant<int, float, double, std::string, bool>;

/// Descriptive data of a parameter. Bounds and increment are in the parameter's own unit.
struct ParameterMetadata {
  std::string name;
  std::optional<double> min;
  std::optional<double> max;
  std::optional<double> increment;
  std::vector<std::string> entries;  ///< symbolic names of an enumeration, in the camera's order
  std::string unit;
  std::string description;
  bool readable = true;
  bool writable = true;
  std::optional<ParameterValue> optionalValue;  ///< the host's own; adapters leave it empty
};

/// A named, typed value. A plain value: copy and move it freely, share it between threads only to read.
class BRIO_EXPORT Parameter {
 public:
  std::string name;
  ParameterValue value;
  DataType type = DataType::Unspecified;
  std::optional<ParameterMetadata> metadata;

  Parameter();

  std::string GetName() const;
  const DataType& GetType() const;

  /// The value as text: numbers as the shortest text that reads back to the same number, whatever the locale;
  /// bool as true or false; text as it is.
  std::string GetValueAsString() const;

  /// The value if it is held as exactly a `T`; nothing is converted. Otherwise one record without a level and
  /// `T`'s default. `T` is bool, int, double, float or std::string.
  template <typename T>
  const T GetValue() const {
    BRIO_TRACE_SCOPE();
    if (const T* const held = std::get_if<T>(&value)) return *held;
    BRIO_LOG_ALWAYS("Illegal type: {} encountered - parameter: {}", typeid(T).name(), name);
    return T{};
  }
};

}  // namespace vireo::common

// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <typeinfo>
#include <variant>
#include <vector>

#include "brio/fnd/datatype.h"
#include "brio/fnd/log.h"

namespace vireo::common {

using brio::fnd::datatype::DataType;
using ParameterValue = std::variant<int, float, double, std::string, bool>;

struct ParameterMetadata {
  std::string name;
  std::optional<double> min, max, increment;
  std::vector<std::string> entries;
  std::string unit, description;
  bool readable = true, writable = true;
  std::optional<ParameterValue> optionalValue;
};

struct Parameter {
  std::string name;
  ParameterValue value;
  DataType type;
  std::optional<ParameterMetadata> metadata;

  Parameter();
  std::string GetName() const;
  const DataType& GetType() const;
  std::string GetValueAsString() const;

  template <typename T>
  const T GetValue() const {
    if (const T* held = std::get_if<T>(&value)) return *held;
    brio::fnd::Log().Record("Illegal type: " + std::string(typeid(T).name()) + " of " + name);
    return T();
  }
};

}  // namespace vireo::common

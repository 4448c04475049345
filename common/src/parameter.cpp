// SPDX-License-Identifier: MIT
#include "vireo/common/parameter.h"

#include <fmt/format.h>

#include <type_traits>

namespace vireo::common {

Parameter::Parameter() = default;

std::string Parameter::GetName() const {
  return name;
}

const DataType& Parameter::GetType() const {
  return type;
}

std::string Parameter::GetValueAsString() const {
  return std::visit([](const auto& held) { return fmt::format("{}", held); }, value);
}

}  // namespace vireo::common

// SPDX-License-Identifier: MIT
#include <chrono>

#include "vireo/common/adapter_base.h"

namespace vireo::common {

std::uint64_t TimeNow() {
  return static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
}

Parameter::Parameter() : type(DataType::Invalid) {}
std::string Parameter::GetName() const {
  return name;
}
const DataType& Parameter::GetType() const {
  return type;
}
std::string Parameter::GetValueAsString() const {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  return std::visit(
      [](const auto& held) -> std::string {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(held)>>) return std::to_string(held);
        return {};
      },
      value);
}

AdapterBase::AdapterBase() : connectTimeout(1.0), ofTheFrameworkAlone{this, this, this} {}
AdapterBase::~AdapterBase() = default;
void AdapterBase::Initialise(const ReceiveCfg& cfg) {
  cameraAddress = "camera://" + cfg.camera;
}
std::string AdapterBase::ResolveAddress(const std::string& address, bool) {
  return address.substr(9);
}

}  // namespace vireo::common

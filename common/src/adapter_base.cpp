// SPDX-License-Identifier: MIT
#include "vireo/common/adapter_base.h"

#include <fmt/format.h>

#include <chrono>
#include <stdexcept>

namespace vireo::common {

std::uint64_t TimeNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

AdapterBase::AdapterBase() = default;
AdapterBase::~AdapterBase() = default;

void AdapterBase::Initialise(const ReceiveCfg& cfg) {
  if (!(cfg.connectTimeout >= 0.0)) {
    throw std::runtime_error(
        fmt::format("connectTimeout must be zero or more seconds, not {}", cfg.connectTimeout));
  }
  cameraAddress = cfg.cameraAddress;
  connectTimeout = cfg.connectTimeout;
}

std::string AdapterBase::ResolveAddress(const std::string& address, bool) {
  constexpr const char* blanks = " \t\r\n\v\f";
  const std::size_t first = address.find_first_not_of(blanks);
  if (first == std::string::npos) return {};
  return address.substr(first, address.find_last_not_of(blanks) - first + 1);
}

}  // namespace vireo::common

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vireo::simulator {

/// One of this computer's IPv4 interfaces; addresses in the host's byte order.
struct NetworkInterface {
  std::string name;
  std::uint32_t address = 0;
  std::uint32_t subnetMask = 0;
};

/// Looks for an interface by its address, its name, or "localhost".
std::optional<NetworkInterface> FindInterface(const std::string& text);

/// Such as "127.0.0.1".
std::string AddressText(std::uint32_t address);

}  // namespace vireo::simulator

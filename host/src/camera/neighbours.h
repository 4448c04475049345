// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "camera/network_ports.h"

namespace vireo::host {

/// Who the system takes for the owner of an address on a port's wire.
struct Neighbour {
  std::string mac;                                  ///< such as "00:11:22:aa:bb:cc"
  std::chrono::steady_clock::time_point confirmed;  ///< when it last answered, to 20 ms
};

/// None where nobody has answered, or does not answer any more.
std::optional<Neighbour> NeighbourAt(const NetworkPort& port, std::uint32_t address);

}  // namespace vireo::host

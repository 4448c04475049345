// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "evidence/system_files.h"

namespace vireo::host {

/// A line of the kernel's table of IPv4 routes; addresses in the host's byte order.
struct Route {
  std::string interface;
  std::uint32_t destination = 0;
  std::uint32_t mask = 0;
  std::uint32_t gateway = 0;  ///< 0: the destination is in the interface's own net
  std::uint32_t metric = 0;

  bool LeadsTo(std::uint32_t address) const { return ((address ^ destination) & mask) == 0; }
};

/// From /proc/net/route, which leaves out the routes to this computer itself.
std::vector<Route> Routes(const SystemFiles& files);

/// The one that packets to an address take: the narrowest, of those the one with the lowest metric.
std::optional<Route> RouteTo(const std::vector<Route>& routes, std::uint32_t address);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "terminal/ipv4.h"

namespace vireo::host {

/// An interface of this computer; one with several addresses is there several times.
struct NetworkPort {
  std::string interface;
  unsigned index = 0;  ///< the system's number of the interface
  Ipv4Network network;
  bool isPointToPoint = false;  ///< a tunnel: a broadcast does not pass it
};

/// Those that are up, loopback included.
std::vector<NetworkPort> NetworkPorts();
/// Those that have an address, but are switched off.
std::vector<NetworkPort> NetworkPortsThatAreDown();

}  // namespace vireo::host

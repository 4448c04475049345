// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "evidence/system_files.h"

namespace vireo::host {

/// What an interface says of itself; none where it does not, as the loopback one does of its speed.
struct InterfaceState {
  std::string name;
  std::optional<std::int64_t> mtu;
  std::optional<std::int64_t> megabits;
  bool hasLink = true;        ///< false where a cable is not plugged in, or what is behind it has no power
  int reversePathFilter = 0;  ///< 0 off, 1 strict, 2 loose; the stronger of its own and of all interfaces'
};

InterfaceState StateOf(const SystemFiles& files, const std::string& name);

/// What an interface counted since it was made.
struct InterfaceCounters {
  std::int64_t packets = 0;  ///< received
  std::int64_t bytes = 0;
  std::int64_t errors = 0;
  std::int64_t dropped = 0;  ///< received, but not taken: the driver or the kernel had not room, or too large
  std::int64_t sentPackets = 0;
};

/// From /proc/net/dev; zeros for an interface that is not there.
InterfaceCounters CountersOf(const SystemFiles& files, const std::string& name);

InterfaceCounters operator-(const InterfaceCounters& now, const InterfaceCounters& before);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "evidence/system_files.h"

namespace vireo::host {

/// What the kernel's IP and UDP counted for all programs together.
struct ProtocolCounters {
  std::int64_t ipReceived = 0;            ///< packets that came to IP
  std::int64_t ipDelivered = 0;           ///< those that went on to a protocol; filters stand between the two
  std::int64_t fragments = 0;             ///< of those that came
  std::int64_t reassembled = 0;           ///< packets that were made of them
  std::int64_t datagramsReceived = 0;     ///< that programs have read
  std::int64_t datagramsWithoutPort = 0;  ///< nobody listened
  std::int64_t datagramsSent = 0;
  std::int64_t bufferErrors = 0;      ///< the socket's buffer was full
  std::int64_t reversePathDrops = 0;  ///< the reverse-path filter took them away

  /// Whole packets that came to IP and went nowhere.
  std::int64_t Filtered() const {
    return ipReceived - fragments + reassembled - ipDelivered - reversePathDrops;
  }
};

/// From /proc/net/snmp and /proc/net/netstat.
ProtocolCounters ProtocolCountersNow(const SystemFiles& files);

ProtocolCounters operator-(const ProtocolCounters& now, const ProtocolCounters& before);

}  // namespace vireo::host

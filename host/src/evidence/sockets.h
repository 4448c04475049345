// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "evidence/system_files.h"

namespace vireo::host {

/// A UDP socket as the kernel lists it.
struct UdpSocket {
  std::uint32_t address = 0;
  std::uint16_t port = 0;
  std::int64_t queuedBytes = 0;  ///< received and not yet read
  std::int64_t drops = 0;        ///< datagrams that found the buffer full
  std::uint64_t inode = 0;
};

/// From /proc/net/udp.
std::vector<UdpSocket> UdpSockets(const SystemFiles& files);

/// Inodes of packet sockets, which see packets before any filter does; from /proc/net/packet.
std::set<std::uint64_t> PacketSockets(const SystemFiles& files);

/// Inodes of the sockets that this process has.
std::set<std::uint64_t> OwnSockets();
/// Bytes that the receive buffer of one of them holds.
std::optional<std::int64_t> ReceiveBufferOf(std::uint64_t inode);

/// The limits of receive buffers in bytes, from /proc/sys/net/core.
struct BufferLimits {
  std::int64_t initial = 0;
  std::int64_t most = 0;  ///< that a program may ask for
};
BufferLimits BufferLimitsOf(const SystemFiles& files);

}  // namespace vireo::host

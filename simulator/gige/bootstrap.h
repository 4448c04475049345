// SPDX-License-Identifier: MIT
// Bootstrap registers of GigE Vision, and what is special to them.
#pragma once

#include <cstdint>

namespace vireo::simulator::bootstrap {

inline constexpr std::uint64_t version = 0x0000;
inline constexpr std::uint64_t deviceMode = 0x0004;
inline constexpr std::uint64_t macHigh = 0x0008;
inline constexpr std::uint64_t macLow = 0x000c;
inline constexpr std::uint64_t ipSupported = 0x0010;
inline constexpr std::uint64_t ipCurrent = 0x0014;
inline constexpr std::uint64_t ipAddress = 0x0024;
inline constexpr std::uint64_t subnetMask = 0x0034;
inline constexpr std::uint64_t gateway = 0x0044;
inline constexpr std::uint64_t discoveryEnd = 0x00f8;
inline constexpr std::uint64_t firstUrl = 0x0200;
/// A URL has room for 512 bytes, but the sensor's trigger registers lie in the second half of the first
/// one's.
inline constexpr std::uint64_t urlSize = 256;
inline constexpr std::uint64_t secondUrl = 0x0400;
inline constexpr std::uint64_t interfaces = 0x0600;
inline constexpr std::uint64_t streamChannels = 0x0904;
inline constexpr std::uint64_t gvcpCapability = 0x0934;
inline constexpr std::uint64_t heartbeatTimeout = 0x0938;  // milliseconds
inline constexpr std::uint64_t tickFrequencyHigh = 0x093c;
inline constexpr std::uint64_t tickFrequencyLow = 0x0940;
inline constexpr std::uint64_t timestampControl = 0x0944;
inline constexpr std::uint64_t timestampHigh = 0x0948;
inline constexpr std::uint64_t timestampLow = 0x094c;
inline constexpr std::uint64_t controlPrivilege = 0x0a00;
inline constexpr std::uint64_t primaryApplication = 0x0a14;  // the address of who has control
inline constexpr std::uint64_t streamPort = 0x0d00;
inline constexpr std::uint64_t streamPacketSize = 0x0d04;
inline constexpr std::uint64_t streamPacketDelay = 0x0d08;  // ticks
inline constexpr std::uint64_t streamDestination = 0x0d18;
inline constexpr std::uint64_t streamSourcePort = 0x0d1c;

inline constexpr std::uint32_t fireTestPacket = 0x80000000;  // in streamPacketSize; clears itself
inline constexpr std::uint32_t latchTimestamp = 2;           // in timestampControl

/// WRITEMEM, packet resend, pending acknowledge; serial number and user name.
inline constexpr std::uint32_t capabilities = 0xc0000026;
/// With IP and UDP headers.
inline constexpr std::uint32_t leastPacketSize = 220;
inline constexpr std::uint32_t mostPacketSize = 16404;

}  // namespace vireo::simulator::bootstrap

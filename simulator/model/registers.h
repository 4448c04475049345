// SPDX-License-Identifier: MIT
// Addresses that the camera's description gives a meaning: the simulated sensor's registers, and those of its
// identity, which lie where GigE Vision wants them. All are big endian.
#pragma once

#include <cstdint>

namespace vireo::simulator::reg {

inline constexpr std::uint64_t vendorName = 0x48;        // 32 bytes
inline constexpr std::uint64_t modelName = 0x68;         // 32
inline constexpr std::uint64_t deviceVersion = 0x88;     // 32
inline constexpr std::uint64_t manufacturerInfo = 0xa8;  // 48
inline constexpr std::uint64_t serialNumber = 0xd8;      // 16
inline constexpr std::uint64_t userName = 0xe8;          // 16

inline constexpr std::uint64_t width = 0x100;
inline constexpr std::uint64_t height = 0x104;
inline constexpr std::uint64_t binningHorizontal = 0x108;
inline constexpr std::uint64_t binningVertical = 0x10c;
inline constexpr std::uint64_t gain = 0x110;
inline constexpr std::uint64_t gainAuto = 0x114;
inline constexpr std::uint64_t sensorHeight = 0x118;
inline constexpr std::uint64_t sensorWidth = 0x11c;
inline constexpr std::uint64_t exposureTime = 0x120;  // microseconds
inline constexpr std::uint64_t acquisition = 0x124;   // 1 starts, 0 stops
inline constexpr std::uint64_t pixelFormat = 0x128;
inline constexpr std::uint64_t acquisitionMode = 0x12c;
inline constexpr std::uint64_t offsetX = 0x130;
inline constexpr std::uint64_t offsetY = 0x134;
inline constexpr std::uint64_t framePeriod = 0x138;  // microseconds
inline constexpr std::uint64_t throughputLimitMode = 0x13c;
inline constexpr std::uint64_t throughputLimit = 0x140;  // bytes a second
inline constexpr std::uint64_t triggerMode = 0x300;      // of FrameStart; AcquisitionStart's is 0x20 further
inline constexpr std::uint64_t triggerSource = 0x304;
inline constexpr std::uint64_t triggerSoftware = 0x30c;
inline constexpr std::uint64_t acquisitionStartTrigger = 0x20;
inline constexpr std::uint64_t acquisitionFrameCount = 0x4038;

/// Registers of our own description lie below; what lies above does not answer.
inline constexpr std::uint64_t memoryEnd = 0x10000;
/// Where a description lies, in a part of the address space that no camera's registers were seen in.
inline constexpr std::uint64_t description = 0x60000000;

}  // namespace vireo::simulator::reg

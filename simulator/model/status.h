// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace vireo::simulator {

/// What a camera answers to a command; GigE Vision and USB3 Vision share these codes.
enum class Status : std::uint16_t {
  Success = 0,
  NotImplemented = 0x8001,
  InvalidParameter = 0x8002,
  InvalidAddress = 0x8003,
  WriteProtect = 0x8004,
  BadAlignment = 0x8005,
  AccessDenied = 0x8006,
  PacketUnavailable = 0x800c,
  InvalidHeader = 0x800e,
};

}  // namespace vireo::simulator

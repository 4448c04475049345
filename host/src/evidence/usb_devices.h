// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "evidence/system_files.h"

namespace vireo::host {

/// A USB3 Vision camera as the system sees it, whether or not it may be opened.
struct UsbCamera {
  std::string vendorId;  ///< four hexadecimal digits
  std::string productId;
  std::string product;
  std::string serial;
  std::optional<std::int64_t> megabits;  ///< of the link that it has: 480 on a USB 2 port
  std::string node;                      ///< such as /dev/bus/usb/002/003
  unsigned mode = 0;                     ///< access rights of the node, as chmod takes them
  bool writable = false;                 ///< by this process
};

/// From /sys/bus/usb/devices and /dev/bus/usb.
std::vector<UsbCamera> UsbCameras(const SystemFiles& files);

/// Megabytes that the kernel gives to all USB transfers of programs together; 0 is no limit. None where there
/// is not such a thing.
std::optional<std::int64_t> UsbMemoryMegabytes(const SystemFiles& files);

}  // namespace vireo::host

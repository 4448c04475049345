// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "camera/local_cameras.h"

namespace vireo::host {

/// A camera with what a GigE Vision one answers by itself; empty for others, and where it does not say.
struct ListedCamera {
  FoundCamera found;
  std::string interface {};
  std::string mac{};
  std::string firmware{};
  std::string control{};  ///< as `ControlText` has it
  std::string advice{};  ///< what keeps it from being opened, and what to do; empty for a camera within reach
};

/// The cameras of `FindCameras`, and those of other subnets; takes about a second.
std::vector<ListedCamera> ListCameras();

}  // namespace vireo::host

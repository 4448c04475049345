// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace vireo::host {

/// Which camera to open, and how: the options that stand before or after any command.
struct CameraOptions {
  std::string address;
  double timeoutSeconds = 5.0;
  bool simulate = false;
  std::string logLevel = "off";
  std::string adapterFile;  ///< empty: found beside the program, then on the library path
};

}  // namespace vireo::host

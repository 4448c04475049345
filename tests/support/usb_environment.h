// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// Shell text before a program, which then finds the simulated camera on USB: the description, the library in
/// place of libusb, and that the address sanitizer's runtime comes second.
inline const std::string usbCameraEnvironment =
    "VIREO_USB_CAMERA='" VIREO_SIMULATED_CAMERA "' LD_PRELOAD='" VIREO_USB_STANDIN
    "' ASAN_OPTIONS=verify_asan_link_order=0";

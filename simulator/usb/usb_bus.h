// SPDX-License-Identifier: MIT
// The bus that the stand-in for libusb finds: nothing on it, or one USB3 Vision camera. A program that is
// started with VIREO_USB_CAMERA naming the camera's description has it plugged in from the beginning, with
// the faults of VIREO_USB_FAULTS; with VIREO_USB_RETURN a removed one is back so many milliseconds after it
// was missed. Tests that link the library plug it in themselves. Any thread.
#pragma once

#include <memory>

namespace vireo::simulator {

class UsbCamera;

/// Plugs a new camera in; one that is there is unplugged, and no device handle may be open. Throws
/// std::runtime_error when the description or the script cannot be read.
void PlugUsbCameraIn(const char* descriptionFile, const char* faults);
/// Pulls the plug; a client sees it as it would see it on a real bus.
void UnplugUsbCamera();
/// Replaces the camera's fault script.
void SetUsbCameraFaults(const char* faults);
/// The camera that was plugged in last, to look at from behind its wire; null before.
std::shared_ptr<UsbCamera> UsbCameraOnBus();

}  // namespace vireo::simulator

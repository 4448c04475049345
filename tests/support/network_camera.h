// SPDX-License-Identifier: MIT
#pragma once

#include <arv.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "simulator/gige/gige_camera.h"

/// What the camera in place of libusb is found by.
inline constexpr const char* usbCameraGuid = "FEED00000001";

/// Lets exactly one kind of camera be found, so that nothing is looked for anywhere else: the network one by
/// its address, the in-process one by its id, the one on USB by its GUID. An open camera is not affected.
inline void useCamera(const std::string& address) {
  const bool usb = address == usbCameraGuid;
  const bool fake = address == "Fake_1";
  (usb ? arv_enable_interface : arv_disable_interface)("USB3Vision");
  (usb || fake ? arv_disable_interface : arv_enable_interface)("GigEVision");
  (fake ? arv_enable_interface : arv_disable_interface)("Fake");
}

/// A GigE Vision camera on the loopback address, in this process. Destroying it is pulling its plug: it says
/// nothing any more. Only one can run on a computer, its control port is fixed: this one waits for others.
class NetworkCamera {
 public:
  static constexpr const char* address = "127.0.0.1";

  explicit NetworkCamera(const vireo::simulator::GigeOptions& options = {}) {
    for (int attempt = 0; !camera_; ++attempt) {
      try {
        camera_.emplace(model_, options);
      } catch (const std::runtime_error&) {
        if (attempt == 300) throw;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
      }
    }
  }

  /// A part of the stream's packets from 0 to 1 that is lost for good.
  void losePackets(double ratio) {
    script("packet " + std::to_string(100.0 * ratio) + "% lost; resend 1- lost");
  }
  void script(const std::string& faults) { camera_->SetFaults(faults); }
  void takeControlAway() { camera_->ReleaseControl(); }
  /// Behind the back of whoever has control.
  void setRegister(std::uint64_t where, std::uint32_t value) { model_.SetRegister(where, value); }
  vireo::simulator::GigeCamera& wire() { return *camera_; }
  vireo::simulator::CameraModel& model() { return model_; }

 private:
  vireo::simulator::CameraModel model_{vireo::simulator::ReadDescription(VIREO_SIMULATED_CAMERA, true), {}};
  std::optional<vireo::simulator::GigeCamera> camera_;
};

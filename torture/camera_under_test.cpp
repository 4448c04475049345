// SPDX-License-Identifier: MIT
#include "torture/camera_under_test.h"

#include <stdexcept>

#include "simulator/usb/usb_bus.h"
#include "simulator/usb/usb_camera.h"
#include "support/network_camera.h"

namespace vireo::torture {
namespace {

class NetworkCameraUnderTest final : public CameraUnderTest {
 public:
  const char* Address() const override { return NetworkCamera::address; }
  void PlugIn() override {
    Unplug();
    camera_.emplace();
  }
  void Unplug() override { camera_.reset(); }
  void SetFaults(const std::string& script) override { camera_->script(script); }
  const simulator::FaultScript& Faults() const override { return camera_->wire().Faults(); }
  simulator::CameraModel& Model() override { return camera_->model(); }
  void ReleaseControl() override { camera_->takeControlAway(); }

 private:
  mutable std::optional<NetworkCamera> camera_;
};

class UsbCameraUnderTest final : public CameraUnderTest {
 public:
  const char* Address() const override { return usbCameraGuid; }
  void PlugIn() override { simulator::PlugUsbCameraIn(VIREO_SIMULATED_CAMERA, ""); }
  void Unplug() override {
    PlugIn();  // in place of the one that holds pictures
    simulator::UnplugUsbCamera();
  }
  void SetFaults(const std::string& script) override { simulator::SetUsbCameraFaults(script.c_str()); }
  const simulator::FaultScript& Faults() const override { return simulator::UsbCameraOnBus()->Faults(); }
  simulator::CameraModel& Model() override { return simulator::UsbCameraOnBus()->Model(); }
};

}  // namespace

std::unique_ptr<CameraUnderTest> CameraUnderTest::On(const std::string& wire) {
  const bool isUsb = wire == "usb";
  if (!isUsb && wire != "gige") throw std::runtime_error("'" + wire + "' is neither gige nor usb");
  useCamera(isUsb ? usbCameraGuid : NetworkCamera::address);
  if (isUsb) return std::make_unique<UsbCameraUnderTest>();
  return std::make_unique<NetworkCameraUnderTest>();
}

}  // namespace vireo::torture

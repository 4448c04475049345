// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "simulator/faults/fault_script.h"
#include "simulator/model/camera_model.h"

namespace vireo::torture {

/// A simulated camera in this process, and the wire that it is on.
class CameraUnderTest {
 public:
  /// `wire` is "gige", on 127.0.0.1, or "usb". Lets the camera library find nothing else.
  static std::unique_ptr<CameraUnderTest> On(const std::string& wire);
  virtual ~CameraUnderTest() = default;

  virtual const char* Address() const = 0;
  /// A new camera; one that is there is unplugged.
  virtual void PlugIn() = 0;
  /// Its memory is given back.
  virtual void Unplug() = 0;
  virtual void SetFaults(const std::string& script) = 0;
  virtual const simulator::FaultScript& Faults() const = 0;
  virtual simulator::CameraModel& Model() = 0;
  /// Forgets a client that could not say that it goes.
  virtual void ReleaseControl() {}
};

}  // namespace vireo::torture

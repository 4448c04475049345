// SPDX-License-Identifier: MIT
#pragma once

#include <arv.h>

#include <string>
#include <utility>
#include <vector>

#include "support/receive_frames.h"
#include "vireo/genicam/adapter.h"

/// The address of the in-process camera, which serves the description of the host tool's simulated camera.
/// Other interfaces are off: nothing is looked for on a network.
inline void simulatedCamera() {
  arv_disable_interface("GigEVision");
  arv_disable_interface("USB3Vision");
  arv_enable_interface("Fake");
  arv_set_fake_camera_genicam_filename(VIREO_SIMULATED_CAMERA);
}

/// The adapter as a subclass of the host's would see it.
class OpenAdapter : public vireo::genicam::GenICamAdapter {
 public:
  explicit OpenAdapter(std::string address = "Fake_1", double timeout = 0.0) {
    simulatedCamera();
    Initialise({std::move(address), timeout});
  }
  using AdapterBase::acquisitionActive;
  using AdapterBase::acquisitionStopTime;
  using AdapterBase::lastFrameTime;
};

/// Such as "connected finite 3 active".
inline std::string stateOf(const OpenAdapter& adapter) {
  const char* const modes[] = {" stopped", " continuous", " finite"};
  const auto state = adapter.GetAcquisitionState();
  return (adapter.IsConnected() ? "connected" : "disconnected") +
         std::string(modes[static_cast<int>(state.mode)]) +
         (state.framesRemaining ? " " + std::to_string(*state.framesRemaining) : "") +
         (adapter.acquisitionActive ? " active" : "");
}

/// A host's subclass: counts what reaches it, and can refuse to stop.
class CountingAdapter : public OpenAdapter {
 public:
  void Disconnect() override {
    ++disconnects;
    OpenAdapter::Disconnect();
  }
  void StopAcquisition() override {
    if (refuseStop) throw std::runtime_error("not now");
    ++stops;
    OpenAdapter::StopAcquisition();
  }
  bool refuseStop = false;
  int disconnects = 0;
  int stops = 0;
};

inline vireo::common::Parameter makeParameter(const std::string& name, vireo::common::ParameterValue value) {
  vireo::common::Parameter parameter;
  parameter.name = name;
  parameter.value = std::move(value);
  return parameter;
}

/// The text of the std::runtime_error that `action` throws, or "nothing thrown".
template <typename Action>
std::string errorOf(Action&& action) {
  try {
    action();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "nothing thrown";
}

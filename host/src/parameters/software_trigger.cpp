// SPDX-License-Identifier: MIT
#include "parameters/software_trigger.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>

#include "parameters/names.h"
#include "terminal/failure.h"

namespace vireo::host {
namespace {

constexpr const char* command = "TriggerSoftware";

Failure noTrigger(const std::string& reason) {
  return Failure(
      ExitStatus::Failed,
      fmt::format("the camera has no software trigger for frames ({}): leave --trigger out", reason));
}

bool canFire(Camera& camera) {
  const std::vector<std::string> known = CommandNames(camera.Nodes());
  return std::count(known.begin(), known.end(), command) != 0 && IsAvailable(camera.Nodes(), command);
}

}  // namespace

// The selector first: it says which trigger the other two speak of.
void TurnOnSoftwareTrigger(Camera& camera, TemporarySettings& settings) {
  if (!canFire(camera)) throw noTrigger(fmt::format("there is no {}", command));
  try {
    if (camera.Catalogue().contains("TriggerSelector")) settings.Set("TriggerSelector", "FrameStart");
    settings.Set("TriggerMode", "On");
    settings.Set("TriggerSource", "Software");
  } catch (const Failure& failure) {
    if (failure.status != ExitStatus::Failed) throw;
    throw noTrigger(failure.what());
  }
}

void FireSoftwareTrigger(Camera& camera) {
  common::Parameter trigger;
  trigger.name = command;
  const std::lock_guard control(camera.Control());
  camera.Adapter().Write(trigger);
}

}  // namespace vireo::host

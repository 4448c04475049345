// SPDX-License-Identifier: MIT
#include "diagnosis/camera_settings.h"

#include <algorithm>
#include <array>

#include "parameters/names.h"
#include "parameters/selectors.h"
#include "terminal/numbers.h"

namespace vireo::host {
namespace {

std::optional<double> numberOf(Camera& camera, const std::string& name) {
  return IsAvailable(camera.Nodes(), name) ? NumberFrom<double>(camera.ValueOr(name, "")) : std::nullopt;
}

std::string unitOf(Camera& camera, const std::string& name) {
  const auto node = camera.Nodes().find(name);
  const auto* const integer =
      node == camera.Nodes().end() ? nullptr : std::get_if<genicam::IntegerNode>(&node->second);
  return integer == nullptr ? "" : integer->unit;
}

// "On", "true", "1"; `otherwise` for a camera that does not have it.
bool isOn(Camera& camera, const std::string& name, bool otherwise) {
  const std::string value = camera.ValueOr(name, "");
  if (value.empty()) return otherwise;
  constexpr std::array words = {"On", "true", "True", "1"};
  return std::find(words.begin(), words.end(), value) != words.end();
}

std::vector<std::string> entriesOf(Camera& camera, const std::string& name) {
  const auto node = camera.Nodes().find(name);
  if (node == camera.Nodes().end()) return {};
  const auto* const enumeration = std::get_if<genicam::EnumerationNode>(&node->second);
  if (enumeration == nullptr) return {};
  std::vector<std::string> entries;
  for (const auto& entry : enumeration->entryValues) entries.push_back(entry.first);
  return entries;
}

// A trigger that ends something does not keep frames from coming.
bool endsSomething(const std::string& selector) {
  return selector.find("End") != std::string::npos || selector.find("Stop") != std::string::npos;
}

std::vector<ActiveTrigger> activeTriggers(Camera& camera) {
  std::vector<ActiveTrigger> triggers;
  if (camera.ValueOr("TriggerMode", "").empty()) return triggers;
  const auto addIfOn = [&](const std::string& selector) {
    if (isOn(camera, "TriggerMode", false))
      triggers.push_back({selector, camera.ValueOr("TriggerSource", "not known")});
  };
  const std::vector<std::string> selectors = entriesOf(camera, "TriggerSelector");
  Selection selection(camera);
  for (const std::string& selector : selectors)
    if (!endsSomething(selector) && selection.Choose({{"TriggerSelector", selector}}).empty())
      addIfOn(selector);
  if (selectors.empty()) addIfOn("");
  return triggers;
}

}  // namespace

CameraSettings SettingsOf(Camera& camera) {
  CameraSettings settings;
  settings.triggers = activeTriggers(camera);
  const common::BasicParams basic = camera.Adapter().GetBasicParams();
  settings.acquisitionMode = camera.ValueOr("AcquisitionMode", "");
  settings.frameCount = numberOf(camera, "AcquisitionFrameCount");
  settings.exposureName = basic.exposureTimeParam;
  if (!basic.exposureTimeParam.empty() && basic.exposureTime > 0.0)
    settings.exposureSeconds = basic.exposureTime;
  settings.frameRateName = basic.frameRateParam;
  if (!basic.frameRateParam.empty() && isOn(camera, "AcquisitionFrameRateEnable", true))
    settings.frameRate = basic.frameRate;
  settings.payloadBytes = numberOf(camera, "PayloadSize");
  if (!settings.payloadBytes && basic.frameSize > 0)
    settings.payloadBytes = static_cast<double>(basic.frameSize);
  settings.hasThroughputMode = camera.Catalogue().contains("DeviceLinkThroughputLimitMode");
  if (isOn(camera, "DeviceLinkThroughputLimitMode", true))
    settings.throughputLimit = numberOf(camera, "DeviceLinkThroughputLimit");
  if (!IsAvailable(camera.Nodes(), settings.heartbeatName)) settings.heartbeatName = "GevHeartbeatTimeout";
  if (unitOf(camera, settings.heartbeatName) == "us") settings.heartbeatUnits = 1000.0;
  settings.linkMegabits = numberOf(camera, "GevLinkSpeed");
  camera.CheckLink();
  return settings;
}

}  // namespace vireo::host

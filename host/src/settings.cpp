// SPDX-License-Identifier: MIT
#include "settings.h"

#include <fmt/format.h>

#include <map>

#include "exit_status.h"
#include "output_file.h"

namespace vireo::host {
namespace {

using common::Parameter;

constexpr const char* fileFormat = "vireo-cam settings 1";

// The adapter owns it: it says whether the stream runs, not how the camera is set.
constexpr std::string_view transportLock = "TLParamsLocked";

bool isSetting(const Parameter& parameter, const genicam::NodeMap& nodes) {
  if (!parameter.metadata->readable || !parameter.metadata->writable) return false;
  const auto node = nodes.find(parameter.name);
  const bool available =
      node == nodes.end() || getAccessMode(node->second) != genicam::AccessMode::NotAvailable;
  return available && parameter.name != transportLock;
}

/// Tries one setting; the text says why it failed.
std::string tryWrite(Camera& camera, const Parameter& like, const Json& value,
                     const ParametersByName& scanned) {
  try {
    const Parameter wanted = ParseJson(like, value);
    if (const auto objection = Objection(wanted, scanned)) return *objection;
    camera.Adapter().Write(wanted);
    return "";
  } catch (const std::runtime_error& error) {
    camera.CheckLink();
    return error.what();
  }
}

Json identityOf(Camera& camera) {
  Json identity = Json::object();
  for (const char* const name : {"DeviceVendorName", "DeviceModelName", "DeviceSerialNumber"}) {
    const std::string value = camera.ValueOr(name, "");
    if (!value.empty()) identity[name] = value;
  }
  return identity;
}

}  // namespace

Settings SettingsOf(Camera& camera) {
  Settings result;
  const genicam::NodeMap nodes = DescribedNodes(camera);
  for (const Parameter& parameter : camera.Adapter().Scan()) {
    if (isSetting(parameter, nodes)) result.settings[parameter.name] = ValueToJson(parameter);
  }
  result.camera = identityOf(camera);
  return result;
}

std::string SettingsText(const Settings& settings) {
  return JsonText({{"format", fileFormat}, {"camera", settings.camera}, {"settings", settings.settings}});
}

Settings ReadSettings(const std::filesystem::path& file) {
  const std::string text = ReadFile(file);
  const auto bad = [&](const std::string& reason) {
    return Failure(
        ExitStatus::Failed,
        fmt::format("{} is no settings file ({}): make one with 'vireo-cam save'", file.string(), reason));
  };
  Json json;
  try {
    json = Json::parse(text);
  } catch (const Json::parse_error& error) {
    throw bad(fmt::format("no JSON from byte {} on", error.byte));
  }
  if (!json.is_object() || json.value("format", Json()) != fileFormat) throw bad("its format is another");
  const Json settings = json.value("settings", Json());
  if (!settings.is_object()) throw bad("it holds no settings");
  for (const auto& [name, value] : settings.items()) {
    if (value.is_structured() || value.is_null()) throw bad(fmt::format("{} has no plain value", name));
  }
  const Json camera = json.value("camera", Json::object());
  if (!camera.is_object()) throw bad("its camera is no object");
  return {camera, settings};
}

std::string OtherModel(Camera& camera, const Settings& settings) {
  const Json here = identityOf(camera);
  const auto model = [](const Json& identity) {
    return ValueText(identity.value("DeviceVendorName", Json(""))) + " " +
           ValueText(identity.value("DeviceModelName", Json("")));
  };
  if (settings.camera.empty() || model(settings.camera) == model(here)) return "";
  return fmt::format("the settings come from another model, {}; this camera is {}", model(settings.camera),
                     model(here));
}

std::vector<Difference> Compare(Camera& camera, const Settings& wanted) {
  std::vector<Difference> differences;
  const ParametersByName scanned = ScanByName(camera);
  for (const auto& [name, value] : wanted.settings.items()) {
    const auto now = scanned.find(name);
    if (now == scanned.end()) {
      differences.push_back({name, ValueText(value), "", "the camera has no such parameter"});
      continue;
    }
    bool same = false;
    try {
      same = SameValue(now->second, ParseJson(now->second, value));
    } catch (const Failure&) {  // a value of another type differs
    }
    if (!same) differences.push_back({name, ValueText(value), now->second.GetValueAsString(), ""});
  }
  return differences;
}

std::vector<Difference> Apply(Camera& camera, const Settings& wanted) {
  std::vector<std::string> pending;
  for (const auto& [name, value] : wanted.settings.items()) {
    if (camera.Catalogue().contains(name)) pending.push_back(name);
  }
  std::map<std::string, std::string> reasons;
  for (std::size_t before = pending.size() + 1; !pending.empty() && pending.size() < before;) {
    before = pending.size();
    std::vector<std::string> failed;
    const ParametersByName scanned = ScanByName(camera);
    for (const std::string& name : pending) {
      reasons[name] = tryWrite(camera, camera.Catalogue().at(name), wanted.settings.at(name), scanned);
      if (!reasons[name].empty()) failed.push_back(name);
    }
    pending = std::move(failed);
  }
  std::vector<Difference> differences = Compare(camera, wanted);
  for (Difference& difference : differences) {
    if (difference.reason.empty()) difference.reason = reasons[difference.name];
  }
  return differences;
}

}  // namespace vireo::host

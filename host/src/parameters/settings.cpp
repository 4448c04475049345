// SPDX-License-Identifier: MIT
#include "parameters/settings.h"

#include <fmt/format.h>

#include "parameters/setting_key.h"
#include "parameters/setting_rules.h"
#include "terminal/failure.h"
#include "terminal/output_file.h"

namespace vireo::host {
namespace {

constexpr const char* fileFormat = "vireo-cam settings 2";
// A setting that depends on a selector has a plain name there, and means the value that the selector has.
constexpr const char* oldFormat = "vireo-cam settings 1";

}  // namespace

Json IdentityOf(Camera& camera) {
  Json identity = Json::object();
  for (const auto& [name, value] :
       camera.Values({"DeviceVendorName", "DeviceModelName", "DeviceSerialNumber"})) {
    identity[name] = value;
  }
  return identity;
}

std::string SettingsText(const Settings& settings) {
  return JsonText({{"format", fileFormat}, {"camera", settings.camera}, {"settings", settings.settings}});
}

Settings ReadSettings(const std::string& file) {
  const auto require = [&](bool good, const std::string& reason) {
    if (good) return;
    throw Failure(ExitStatus::Failed,
                  fmt::format("{} is not a settings file ({}): make one with 'vireo-cam save'",
                              InputName(file), reason));
  };
  Json json;
  try {
    json = Json::parse(ReadInput(file));
  } catch (const Json::parse_error& error) {
    require(false, fmt::format("not JSON from byte {} on", error.byte));
  }
  require(json.is_object(), "its format is another");
  const Json format = json.value("format", Json());
  require(format == fileFormat || format == oldFormat, "its format is another");
  const Json settings = json.value("settings", Json());
  require(settings.is_object(), "it holds no settings");
  for (const auto& [name, value] : settings.items()) {
    require(!value.is_structured() && !value.is_null(), fmt::format("{} has no plain value", name));
  }
  const Json camera = json.value("camera", Json::object());
  require(camera.is_object(), "its camera is not an object");
  return {camera, settings};
}

Settings WithoutIdentity(const Settings& settings, const genicam::DetailedFeatures& features,
                         std::vector<std::string>& left) {
  Settings others = {settings.camera, Json::object()};
  for (const auto& [key, value] : settings.settings.items()) {
    if (IsIdentity(KeyFrom(key).name, features)) {
      left.push_back(key);
    } else {
      others.settings.get_ref<Json::object_t&>().emplace_back(key, value);
    }
  }
  return others;
}

std::string OtherModelNote(Camera& camera, const Settings& settings) {
  const Json here = Json::parse(JsonText(IdentityOf(camera)));  // as a file holds it: all of it UTF-8
  const auto model = [](const Json& identity) {
    const std::string name = ValueText(identity.value("DeviceVendorName", Json(""))) + " " +
                             ValueText(identity.value("DeviceModelName", Json("")));
    return name == " " ? "without a name" : name;
  };
  if (settings.camera.empty() || model(settings.camera) == model(here)) return "";
  return fmt::format("the settings come from another model, {}; this camera is {}", model(settings.camera),
                     model(here));
}

}  // namespace vireo::host

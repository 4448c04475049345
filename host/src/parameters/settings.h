// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "camera/camera.h"
#include "terminal/json.h"

namespace vireo::host {

/// The readable and writable settings of a camera as a file keeps them: JSON, a member for each setting. One
/// that depends on selectors has a member for each of their values.
struct Settings {
  Json camera = Json::object();    ///< identity of the camera that they came from
  Json settings = Json::object();  ///< text of the `SettingKey` to value
};

/// Settings, and what is to be told of those that are not among them, a line each.
struct SavedSettings {
  Settings settings;
  std::vector<std::string> notes;
};

/// Asks the camera for all of its settings; selectors move meanwhile. Those that are a camera's identity only
/// on demand. Throws Failure when the link is lost, or not one setting can be read.
SavedSettings SettingsOf(Camera& camera, bool withIdentity);
std::string SettingsText(const Settings& settings);

/// Throws Failure for a file that is not a settings file. "-" is standard input.
Settings ReadSettings(const std::string& file);

/// The settings without those that are a camera's identity, whose names `left` gets.
Settings WithoutIdentity(const Settings& settings, const genicam::DetailedFeatures& features,
                         std::vector<std::string>& left);

/// A note that the settings come from a camera of another vendor or model; empty when they do not, or do not
/// say.
std::string OtherModelNote(Camera& camera, const Settings& settings);

/// Vendor, model and serial number.
Json IdentityOf(Camera& camera);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "camera.h"
#include "parameter_rows.h"
#include "parameter_values.h"

namespace vireo::host {

/// The readable and writable settings of a camera as a file keeps them: JSON, in an order that `load`
/// follows.
struct Settings {
  Json camera = Json::object();    ///< identity of the camera that they came from
  Json settings = Json::object();  ///< name to value
};

Settings SettingsOf(Camera& camera);
std::string SettingsText(const Settings& settings);

/// Throws Failure for a file that is no settings file.
Settings ReadSettings(const std::filesystem::path& file);

/// That the settings come from a camera of another vendor or model; empty when they do not, or do not tell.
std::string OtherModel(Camera& camera, const Settings& settings);

/// One setting where camera and file do not agree.
struct Difference {
  std::string name;
  std::string inFile;
  std::string inCamera;  ///< text of the value; empty when the camera has none
  std::string reason;    ///< why it could not be set; empty when nobody tried
};

/// Compares every setting of the file with the camera's value now.
std::vector<Difference> Compare(Camera& camera, const Settings& wanted);

/// Writes in file order, and again what failed, as long as that makes progress: settings move each other's
/// bounds. Returns what differs afterwards.
std::vector<Difference> Apply(Camera& camera, const Settings& wanted);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "camera/camera.h"
#include "parameters/writer.h"

namespace vireo::host {

/// Gives parameters other values for a while. The destructor gives them back what they had, the last one
/// first, also when Ctrl-C or a failure ended the work; what it cannot give back it tells on standard error.
/// A lost camera keeps what it has.
class TemporarySettings {
 public:
  /// Scans the camera.
  explicit TemporarySettings(Camera& camera);
  TemporarySettings(const TemporarySettings&) = delete;
  TemporarySettings& operator=(const TemporarySettings&) = delete;
  ~TemporarySettings();

  /// Throws Failure unless the camera, as it is now, can take each of the values; writes nothing.
  void Require(const std::vector<common::Parameter>& wanted);
  /// Writes a parameter and reads it back. Throws Failure when the camera does not take the value, or does
  /// not tell what it had before, in which case nothing is written.
  ReadBack Set(const common::Parameter& wanted);
  /// The same for a value as people write it.
  ReadBack Set(const std::string& name, const std::string& value);

  /// Writes again what was set, in order: for a camera that has forgotten it.
  void Renew();
  const ParametersByName& LastScan() const { return writer_.LastScan(); }

 private:
  struct Setting {
    common::Parameter before;
    common::Parameter now;
  };

  void restore();
  Setting& remember(const std::string& name);
  common::Parameter valueBefore(const std::string& name);

  Camera& camera_;
  ParameterWriter writer_;
  std::vector<Setting> settings_;
};

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "command_line.h"
#include "host_logger.h"
#include "plugin.h"
#include "vireo/common/adapter_base.h"

namespace vireo::host {

/// What a command does with a camera. Reading works beside another program that controls the camera.
enum class Use { Reading, Control, Stream };

/// A connected camera and everything behind it. Closes the connection when it ends.
class Camera {
 public:
  /// Throws Failure: NoCamera when none answers within the time-out, Failed when another program controls it
  /// and `use` is more than reading.
  Camera(const CameraOptions& options, Use use);

  common::AdapterBase& Adapter() { return *adapter_; }
  const HostLogger& Log() const { return logger_; }

  /// Held around calls that control the adapter when more than one thread does; receiving needs it not.
  std::mutex& Control() { return control_; }

  /// Every value parameter by name, as it was when the connection was made.
  const std::map<std::string, common::Parameter>& Catalogue() const { return catalogue_; }

  /// Current value as text; `otherwise` when the camera has no such parameter or cannot read it.
  std::string ValueOr(const std::string& name, const std::string& otherwise);

  /// Throws Failure with LinkLost when the connection is not usable.
  void CheckLink() const;
  /// What to report for an error: itself, or the lost link that is behind it.
  Failure Explained(const std::exception& error) const;

 private:
  static void awaitControl(const CameraOptions& options);
  void connect(const CameraOptions& options);

  std::mutex control_;
  HostLogger logger_;
  Plugin plugin_;
  Plugin::AdapterHandle adapter_;
  std::map<std::string, common::Parameter> catalogue_;
};

/// Opens the camera and runs `work` with it. A failure of the work is reported as a lost link when the link
/// turns out to be lost.
ExitStatus WithCamera(const CameraOptions& options, Use use, const std::function<ExitStatus(Camera&)>& work);

}  // namespace vireo::host

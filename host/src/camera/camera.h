// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "camera/local_cameras.h"
#include "camera/logger.h"
#include "camera/options.h"
#include "camera/plugin.h"
#include "terminal/failure.h"
#include "vireo/common/adapter_base.h"
#include "vireo/genicam/feature_details.h"

namespace vireo::host {

/// What a command does with a camera. Reading works beside another program that controls the camera, and so
/// does what takes the control only where it is free.
enum class Use { Reading, ControlIfFree, Control, Stream };

/// A connected camera and everything behind it. Closes the connection when it ends.
///
/// One thread uses it. Where more than one thread drives the adapter, as for the live page, each holds
/// `Control` meanwhile; receiving frames needs no lock.
class Camera {
 public:
  /// Throws Failure: NoCamera when none answers within the time-out, Failed when another program controls it
  /// and `use` is more than reading.
  Camera(const CameraOptions& options, Use use);

  /// Tries once to connect again to the same camera, after a loss of the link. False when it does not answer,
  /// or another program controls it; then every access fails. Opened for `Stream` only.
  bool Reconnect();
  /// What `Name` said when the connection was made; of a camera that was opened for `Stream`.
  const std::string& IdentityAtStart() const { return name_; }

  common::AdapterBase& Adapter() { return *adapter_; }
  const HostLogger& Log() const { return logger_; }
  std::mutex& Control() { return control_; }

  /// Whether another program controls the camera, so that nothing can be written, and who; asked for once,
  /// when it is opened for `ControlIfFree`.
  bool IsBusy() const { return controller_.isOther; }
  const Controller& ControlledBy() const { return controller_; }

  /// Every value parameter by name, as it was when the connection was made.
  const std::map<std::string, common::Parameter>& Catalogue() const { return catalogue_; }

  /// The adapter's scan. Throws Failure with LinkLost when the link went meanwhile: then its values are none
  /// of the camera's.
  std::vector<common::Parameter> Scan();

  /// The camera's own description, parsed when it is first asked for; empty when there is none or it cannot
  /// be understood.
  const genicam::DetailedFeatures& Features();
  const genicam::NodeMap& Nodes() { return Features().nodes; }

  /// Vendor, model and serial number, as far as the camera says them.
  std::string Name();
  /// Current value as text; `otherwise` when the camera has no such parameter or cannot read it.
  std::string ValueOr(const std::string& name, const std::string& otherwise);
  /// Name and current value of those parameters that the camera has and whose text is not empty.
  std::vector<std::pair<std::string, std::string>> Values(const std::vector<std::string>& names);

  /// Throws Failure with LinkLost when the connection is not usable.
  void CheckLink() const;
  /// What to report for an error: the lost link where that is behind it, else the error itself.
  Failure FailureBehind(const std::exception& error) const;

 private:
  static void awaitControl(const CameraOptions& options);
  void connect(const CameraOptions& options);
  std::optional<std::string> sameAddress() const;

  CameraOptions options_;
  std::string name_;
  std::string serial_;
  std::mutex control_;
  HostLogger logger_;
  Plugin plugin_;
  Plugin::AdapterHandle adapter_;
  std::map<std::string, common::Parameter> catalogue_;
  std::optional<genicam::DetailedFeatures> features_;
  Controller controller_;
};

/// Opens the camera and runs `work` with it. A failure of the work is reported as a lost link when the link
/// turns out to be lost.
ExitStatus WithCamera(const CameraOptions& options, Use use, const std::function<ExitStatus(Camera&)>& work);

}  // namespace vireo::host

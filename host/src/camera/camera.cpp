// SPDX-License-Identifier: MIT
#include "camera/camera.h"

#include <fmt/format.h>

#include <chrono>

#include "camera/adapter_texts.h"
#include "camera/link_check.h"
#include "camera/local_cameras.h"
#include "terminal/console.h"

namespace vireo::host {
namespace {

constexpr const char* serialNumber = "DeviceSerialNumber";

std::string addressOf(const CameraOptions& options) {
  return options.simulate ? simulatedCameraAddress : options.address;
}

// What the library said first tells more than its error: that a description is not XML, say.
Failure noCameraFailure(const CameraOptions& options, std::string_view reason) {
  const std::string address = addressOf(options);
  const std::string said = FirstLibraryMessage();
  const bool both = !reason.empty() && !said.empty();
  const std::string why = fmt::format("{}{}{}", reason, both ? ": " : "", said);
  const std::string because = why.empty() ? "" : fmt::format(" ({})", why);
  const std::string where = address.empty() ? "no camera found" : fmt::format("no camera at '{}'", address);
  return Failure(
      ExitStatus::NoCamera,
      fmt::format("{} within {} s{}; 'vireo-cam cameras' shows what answers, '--simulate' needs no camera",
                  where, options.timeoutSeconds, because));
}

}  // namespace

Camera::Camera(const CameraOptions& options, Use use)
    : options_(options),
      logger_(options.logLevel),
      plugin_(options.adapterFile),
      adapter_(plugin_.MakeAdapter()) {
  if (options.simulate) EnableNothingButSimulatedCamera();
  if (use == Use::Stream) logger_.CountFrameFaults();
  if (use == Use::ControlIfFree) controller_ = ControllerOf(addressOf(options));
  if (use == Use::Control || use == Use::Stream) awaitControl(options);
  connect(options);
  if (use != Use::Stream) return;
  name_ = Name();
  serial_ = ValueOr(serialNumber, "");
}

// The first camera that is found may be another one now.
std::optional<std::string> Camera::sameAddress() const {
  const std::string address = addressOf(options_);
  if (!address.empty() || serial_.empty()) return address;
  for (const FoundCamera& found : FindCameras())
    if (found.serial == serial_) return found.id;
  return std::nullopt;
}

bool Camera::Reconnect() {
  const std::lock_guard control(control_);
  adapter_->Disconnect();
  const std::optional<std::string> address = sameAddress();
  if (!address) return false;
  const Controller controller = ControllerOf(*address);
  if (!controller.answers || controller.isOther) return false;
  try {
    adapter_->Initialise({*address, 0.0});
    catalogue_ = adapter_->Connect();
    if (Name() == name_) return true;
  } catch (const std::runtime_error&) {  // gone again
  }
  adapter_->Disconnect();
  return false;
}

// A camera stays controlled by a program that was killed until it has missed the heartbeat for a while.
void Camera::awaitControl(const CameraOptions& options) {
  const std::chrono::duration<double> patience(options.timeoutSeconds);
  const auto start = std::chrono::steady_clock::now();
  for (Controller now = ControllerOf(addressOf(options)); now.isOther;
       now = ControllerOf(addressOf(options))) {
    if (std::chrono::steady_clock::now() - start < patience) continue;
    const std::string where = now.address.empty() ? "" : fmt::format(" on {}", now.address);
    throw Failure(
        ExitStatus::Failed,
        fmt::format("another program{} controls the camera: end it ('get', 'info', 'list' and 'save' "
                    "work beside it)",
                    where));
  }
}

void Camera::connect(const CameraOptions& options) {
  adapter_->Initialise({addressOf(options), options.timeoutSeconds});
  try {
    catalogue_ = adapter_->Connect();
  } catch (const std::runtime_error& error) {
    const std::string_view text = error.what();
    if (!text.starts_with(adaptertext::noAnswer)) throw;
    const std::string_view reason = text.substr(adaptertext::noAnswer.size());
    throw noCameraFailure(options, reason.empty() ? reason : reason.substr(2));
  }
}

std::string Camera::Name() {
  std::string name;
  for (const auto& [parameter, value] : Values({"DeviceVendorName", "DeviceModelName", serialNumber}))
    name += (name.empty() ? "" : " ") + value;
  return name.empty() ? "without a name" : name;
}

std::vector<common::Parameter> Camera::Scan() {
  std::vector<common::Parameter> parameters = adapter_->Scan();
  CheckLink();
  return parameters;
}

const genicam::DetailedFeatures& Camera::Features() {
  if (!features_) {
    try {
      features_ = genicam::parseWithDetails(adapter_->GetNativeParameterDocument().content);
    } catch (const std::runtime_error&) {
      features_.emplace();
    }
  }
  return *features_;
}

std::string Camera::ValueOr(const std::string& name, const std::string& otherwise) {
  if (!catalogue_.contains(name)) return otherwise;
  try {
    return adapter_->Read(name).GetValueAsString();
  } catch (const std::runtime_error& error) {
    CheckLinkAfter(*this, error);
    return otherwise;
  }
}

std::vector<std::pair<std::string, std::string>> Camera::Values(const std::vector<std::string>& names) {
  std::vector<std::pair<std::string, std::string>> values;
  for (const std::string& name : names) {
    std::string value = ValueOr(name, "");
    if (!value.empty()) values.emplace_back(name, std::move(value));
  }
  return values;
}

void Camera::CheckLink() const {
  const common::CheckResult check = adapter_->CheckConnection();
  if (check.ok) return;
  const std::string reason = check.messages.empty() ? "no reason given" : check.messages.front();
  throw Failure(
      ExitStatus::LinkLost,
      fmt::format("the link to the camera is lost ({}): check cable and power, then try again", reason));
}

Failure Camera::FailureBehind(const std::exception& error) const {
  if (const auto* const failure = dynamic_cast<const Failure*>(&error)) return *failure;
  try {
    CheckLink();
  } catch (const Failure& lost) {
    return lost;
  }
  return Failure(ExitStatus::Failed, error.what());
}

ExitStatus WithCamera(const CameraOptions& options, Use use, const std::function<ExitStatus(Camera&)>& work) {
  Camera camera(options, use);
  try {
    // Whoever changes the first camera that is found learns which one that was.
    if (use == Use::Control && options.address.empty() && !options.simulate)
      PrintError(fmt::format("note: the camera is {}", camera.Name()));
    return work(camera);
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    CheckLinkAfter(camera, error);
    throw Failure(ExitStatus::Failed, error.what());
  }
}

}  // namespace vireo::host

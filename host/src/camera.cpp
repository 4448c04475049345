// SPDX-License-Identifier: MIT
#include "camera.h"

#include <fmt/format.h>

#include <chrono>

#include "local_cameras.h"

namespace vireo::host {
namespace {

constexpr std::string_view noAnswer = "GenICamAdapter: connection timeout";

std::string addressOf(const CameraOptions& options) {
  return options.simulate && options.address.empty() ? simulatedCameraAddress : options.address;
}

Failure noCamera(const CameraOptions& options, std::string_view reason) {
  const std::string address = addressOf(options);
  const std::string where = address.empty() ? "no camera found" : fmt::format("no camera at '{}'", address);
  return Failure(
      ExitStatus::NoCamera,
      fmt::format("{} within {} s{}; 'vireo-cam cameras' shows what answers, '--simulate' needs no camera",
                  where, options.timeoutSeconds, reason));
}

}  // namespace

Camera::Camera(const CameraOptions& options, Use use)
    : logger_(options.logLevel), plugin_(options.adapterFile), adapter_(plugin_.MakeAdapter()) {
  if (options.simulate) EnableSimulatedCamera();
  if (use == Use::Stream) logger_.CountFrameFaults();
  if (use != Use::Reading) awaitControl(options);
  connect(options);
}

// A program that was killed keeps the control until the camera misses its heartbeat.
void Camera::awaitControl(const CameraOptions& options) {
  const std::chrono::duration<double> patience(options.timeoutSeconds);
  const auto start = std::chrono::steady_clock::now();
  while (IsControlled(addressOf(options))) {
    if (std::chrono::steady_clock::now() - start < patience) continue;
    throw Failure(ExitStatus::Failed,
                  "another program controls the camera: end it ('get', 'list' and 'save' work beside it)");
  }
}

void Camera::connect(const CameraOptions& options) {
  adapter_->Initialise({addressOf(options), options.timeoutSeconds});
  try {
    catalogue_ = adapter_->Connect();
  } catch (const std::runtime_error& error) {
    const std::string_view text = error.what();
    if (!text.starts_with(noAnswer)) throw;
    const std::string_view reason = text.substr(noAnswer.size());
    throw noCamera(options, reason.empty() ? "" : fmt::format(" ({})", reason.substr(2)));
  }
}

std::string Camera::ValueOr(const std::string& name, const std::string& otherwise) {
  if (!catalogue_.contains(name)) return otherwise;
  try {
    return adapter_->Read(name).GetValueAsString();
  } catch (const std::runtime_error&) {
    return otherwise;
  }
}

void Camera::CheckLink() const {
  const common::CheckResult check = adapter_->CheckConnection();
  if (check.ok) return;
  const std::string reason = check.messages.empty() ? "no reason given" : check.messages.front();
  throw Failure(
      ExitStatus::LinkLost,
      fmt::format("the link to the camera is lost ({}): check cable and power, then try again", reason));
}

Failure Camera::Explained(const std::exception& error) const {
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
    return work(camera);
  } catch (const std::exception& error) {
    throw camera.Explained(error);
  }
}

}  // namespace vireo::host

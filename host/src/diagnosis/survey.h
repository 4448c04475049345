// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

#include "camera/options.h"
#include "diagnosis/facts.h"

namespace vireo::host {

/// What can be known without opening the camera: which one is meant, the way there, its registers, who has
/// its control. Takes a second or two, longer where nobody answers or somebody has the control.
Facts Survey(const CameraOptions& options, const SystemFiles& files);

/// The standard registers, and how long each answer took.
CameraRegisters ReadRegisters(GvcpClient& camera, std::chrono::milliseconds patience, AnswerTimes& times);

}  // namespace vireo::host

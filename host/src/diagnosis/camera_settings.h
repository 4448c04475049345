// SPDX-License-Identifier: MIT
#pragma once

#include "camera/camera.h"
#include "diagnosis/facts.h"

namespace vireo::host {

/// Reads what decides whether and how fast frames come. Moves the trigger selector and puts it back. Throws
/// Failure when the link is lost.
CameraSettings SettingsOf(Camera& camera);

}  // namespace vireo::host

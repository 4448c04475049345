// SPDX-License-Identifier: MIT
#pragma once

#include "camera/camera.h"
#include "parameters/temporary_settings.h"

namespace vireo::host {

/// Makes each frame wait for a `FireSoftwareTrigger`, by the temporary settings. Throws Failure when the
/// camera has no such trigger.
void TurnOnSoftwareTrigger(Camera& camera, TemporarySettings& settings);

/// Makes the camera take a frame. Throws std::runtime_error when it refuses.
void FireSoftwareTrigger(Camera& camera);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <exception>

#include "camera/camera.h"

namespace vireo::host {

/// Throws Failure with LinkLost when the connection is not usable, and also when `error`, of a read or a
/// write, says that nothing was answered, and another question is not answered either: a camera on USB can
/// fall silent without a loss being reported.
void CheckLinkAfter(Camera& camera, const std::exception& error);

}  // namespace vireo::host

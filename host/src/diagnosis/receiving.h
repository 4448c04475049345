// SPDX-License-Identifier: MIT
#pragma once

#include "camera/camera.h"
#include "diagnosis/facts.h"

namespace vireo::host {

/// Receives for some seconds, and looks meanwhile at what the system counts and, for a GigE Vision camera, at
/// its registers. What goes wrong is in the result; it throws on Ctrl-C alone.
Reception Receive(Camera& camera, const Facts& facts, const SystemFiles& files, double seconds);

}  // namespace vireo::host

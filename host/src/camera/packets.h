// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

#include "camera/camera.h"

namespace vireo::host {

/// What decides whether the packets of a GigE Vision stream get through: "packets of 9000 bytes, MTU 1500".
/// Empty for a camera that has no such packets. Asks the camera.
std::string PacketFacts(Camera& camera);

}  // namespace vireo::host

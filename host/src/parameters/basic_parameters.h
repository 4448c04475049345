// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "camera/camera.h"

namespace vireo::host {

/// Title and text of the imaging parameters that everybody asks for first, those that the camera has and
/// gives. `pixelFormat` is empty for a camera without one. Throws Failure when the link is lost.
std::vector<std::pair<std::string, std::string>> ShownBasics(Camera& camera, const std::string& pixelFormat);

/// Whether the camera gave bounds of width and height when it was connected.
bool KnowsLargestImage(const common::BasicParams& basic);

}  // namespace vireo::host

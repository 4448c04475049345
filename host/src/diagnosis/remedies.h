// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "camera/camera.h"
#include "diagnosis/verdict.h"

namespace vireo::host {

/// Writes the remedies of verdicts, and notes in each what was done or could not be. Selectors get back what
/// they had. Throws Failure when the link is lost.
void Apply(Camera& camera, std::vector<Verdict>& verdicts);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "camera/camera.h"
#include "terminal/failure.h"

namespace vireo::host {

/// Throws Failure, with what to do instead, when `name` is not a value parameter of the camera, or one that
/// is not available on it.
void RequireParameter(Camera& camera, const std::string& name);

/// Whether a name fits a pattern, which may hold * and ?; one without either is a part of the name. Case does
/// not matter.
bool MatchesPattern(const std::string& name, const std::string& pattern);

/// The readable parameters that a name in any case means, or else a pattern. Throws Failure, with what to do
/// instead, when there are none.
std::vector<std::string> ReadableNames(Camera& camera, const std::string& pattern);

/// False when the camera's description says that it has no such feature now.
bool IsAvailable(const genicam::NodeMap& nodes, const std::string& name);

/// The names of the commands that a description has.
std::vector<std::string> CommandNames(const genicam::NodeMap& nodes);

/// The failure for a name that is not in `known`, with the most similar one that is.
Failure UnknownNameFailure(const std::string& name, const std::vector<std::string>& known);

}  // namespace vireo::host

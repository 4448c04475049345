// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "camera/camera.h"
#include "parameters/settings.h"

namespace vireo::host {

/// One setting that is not as the file has it, elsewhere: in a camera, or in another file.
struct Difference {
  std::string key;
  std::string inFile;
  std::string elsewhere;  ///< empty when there is none
  std::string reason;     ///< why it could not be read or set; empty when nobody tried
};

/// Compares every setting of the file with the camera's value now; selectors move meanwhile. Throws Failure
/// when the link is lost, like `Apply`.
std::vector<Difference> Compare(Camera& camera, const Settings& wanted);

/// Compares two files. A setting under a plain name, as the old format has it, is compared with the one for
/// the selector values that its own file has; those for other values are none of its business.
std::vector<Difference> Compare(const Settings& file, const Settings& other);

/// Writes what can be written: selectors, what they select, and at the end the selectors' own values.
/// Returns what differs afterwards, with the reasons.
std::vector<Difference> Apply(Camera& camera, const Settings& wanted);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "pictures/picture.h"

namespace vireo::host {

/// The bytes of a PNG file. Pictures of up to 8 bits are stored in 8; deeper ones in 16 with the value
/// shifted to the top, the number of significant bits in the sBIT chunk. Lossless; throws std::runtime_error.
std::vector<unsigned char> EncodePng(const Picture& picture);

}  // namespace vireo::host

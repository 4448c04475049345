// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>

/// How often a fault test repeats itself: briefly, or in full when VIREO_FULL_ROUNDS is set.
inline int rounds(int brief, int full) {
  return std::getenv("VIREO_FULL_ROUNDS") != nullptr ? full : brief;
}

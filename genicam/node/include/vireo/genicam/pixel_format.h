// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "brio/fnd/export.h"

namespace vireo::genicam {

/// Bytes per pixel of a PFNC pixel format name such as BayerRG12p, rounded up to whole bytes. A
/// maker's prefix, a word of its own and common misspellings are read by rule; 1 for an unknown name. Any
/// thread.
BRIO_EXPORT std::uint32_t bytesPerPixel(const std::string& pixelFormat);

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "vireo/common/parameter.h"

namespace vireo::genicam {

/// The element type of a frame with this PFNC pixel format code, by the bits per pixel that the code states:
/// 16 and 32 bits are one element a pixel, everything else is bytes.
constexpr vireo::common::DataType elementType(std::uint32_t pixelFormat) {
  switch ((pixelFormat >> 16) & 0xff) {
    case 16:
      return vireo::common::DataType::UInt16;
    case 32:
      return vireo::common::DataType::UInt32;
    default:
      return vireo::common::DataType::Byte;
  }
}

}  // namespace vireo::genicam

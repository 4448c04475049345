// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "pictures/picture.h"

namespace vireo::host {

/// Every n-th pixel of a picture in 8 bits, so that it is at most `widest` pixels wide.
Picture Preview(const Picture& picture, std::size_t widest);

/// A preview with those pixels red that have a sample at the top of its range, or leave such a pixel out.
/// `preview` was made of `picture` with the same `widest`.
Picture MarkSaturated(const Picture& preview, const Picture& picture, std::size_t widest);

/// How many samples of all channels fall into each 256th of the value range.
std::array<std::uint64_t, 256> Histogram(const Picture& picture);

}  // namespace vireo::host

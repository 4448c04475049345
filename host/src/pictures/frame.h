// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "vireo/common/adapter_base.h"

namespace vireo::host {

/// A received frame.
struct Frame {
  std::uint64_t index = 0;  ///< 1 for the first one of an acquisition
  common::FrameInfo info;
  std::uint64_t arrival = 0;         ///< nanoseconds since the Unix epoch, the host's clock
  std::vector<std::uint8_t> buffer;  ///< begins with the frame's bytes; may be longer
  std::vector<std::string> extra{};  ///< its cells in the further columns of the index

  std::span<const std::uint8_t> Bytes() const { return std::span(buffer).first(info.size); }
};

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "vireo/common/adapter_base.h"

/// Receives until `frames` came, for at most `attempts` calls; returns how many came.
inline int receive(vireo::common::AdapterBase& adapter, std::vector<std::uint8_t>& memory,
                   vireo::common::FrameInfo& info, int frames, int attempts = 50) {
  std::span<std::uint8_t> span(memory);
  int got = 0;
  for (; got < frames && attempts > 0; --attempts) {
    bool received = false;
    adapter.ReceiveFrame(received, 0, span, info);
    got += received;
  }
  return got;
}

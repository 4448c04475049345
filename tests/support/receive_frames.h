// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "vireo/common/adapter_base.h"

/// Receives until `frames` came, for at most `attempts` calls; returns how many came.
inline int receive(vireo::common::AdapterBase& adapter, std::span<std::uint8_t> memory,
                   vireo::common::FrameInfo& info, int frames, int attempts = 50) {
  int got = 0;
  for (; got < frames && attempts > 0; --attempts) {
    bool received = false;
    adapter.ReceiveFrame(received, 0, memory, info);
    got += received;
  }
  return got;
}

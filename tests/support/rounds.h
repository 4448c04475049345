// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "support/process_use.h"

/// How often a fault test repeats itself: briefly, or in full when VIREO_FULL_ROUNDS is set.
inline int rounds(int brief, int full) {
  return std::getenv("VIREO_FULL_ROUNDS") != nullptr ? full : brief;
}

/// Does `action` with 1, 2 and so on. After the third time the process must hold no more than it did then.
template <typename Action>
void repeatWithoutGrowth(int times, Action action) {
  ProcessUse settled;
  for (int round = 1; round <= times; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    action(round);
    const ProcessUse use = ProcessUse::now();
    std::cout << "  round " << round << ": " << use << '\n';
    if (round <= 3) settled = use;
    EXPECT_EQ(use.threads, settled.threads);
    EXPECT_EQ(use.descriptors, settled.descriptors);
    EXPECT_LT(use.heap, settled.heap + 64 * 1024);
  }
}

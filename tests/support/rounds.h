// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "support/process_use.h"

/// How often a fault test repeats itself: briefly, or in full when VIREO_FULL_ROUNDS is set.
inline int rounds(int brief, int full) {
  return std::getenv("VIREO_FULL_ROUNDS") != nullptr ? full : brief;
}

/// Does `action` with 1, 2 and so on, at least three times. Afterwards the process must hold the threads and
/// descriptors of the first round, and no more memory than after the third (the second of three).
template <typename Action>
void repeatWithoutGrowth(int times, Action action) {
  ProcessUse first;
  ProcessUse settled;
  for (int round = 1; round <= times; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    action(round);
    const ProcessUse use = ProcessUse::now();
    std::cout << "  round " << round << ": " << use << '\n';
    if (round == 1) first = use;
    if (round <= std::min(3, times - 1)) settled = use;
    EXPECT_EQ(use.threads, first.threads);
    EXPECT_EQ(use.descriptors, first.descriptors);
    EXPECT_LT(use.heap, settled.heap + 64 * 1024);
  }
}

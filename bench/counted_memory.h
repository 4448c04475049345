// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

/// Bytes that the whole process holds in its heap now, as the allocator rounded them. Counted while the
/// benchmark's own malloc stands before the C library's.
std::size_t heapBytes();

/// The most that it held since the last call of restartHeapPeak.
std::size_t heapPeak();
void restartHeapPeak();

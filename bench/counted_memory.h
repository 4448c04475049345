// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>

/// The most bytes, as the allocator rounded them, that `work` held in the heap at a time beyond what was
/// there before. The benchmark's own malloc stands before the C library's and counts during this call alone,
/// so that no time is spent on counting otherwise. One thread.
std::size_t heapPeakOf(const std::function<void()>& work);

// SPDX-License-Identifier: MIT
#pragma once

#include <sched.h>

#include <cstdio>
#include <thread>

/// This thread and those that it starts from now on stay on that core.
inline void stayOnCore(unsigned core) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(core % std::thread::hardware_concurrency(), &set);
  if (sched_setaffinity(0, sizeof set, &set) != 0) std::perror("cannot stay on one core");
}

// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>

#include <array>
#include <string>

#include "brio/fnd/export.h"

namespace brio::fnd {

/// The calling thread's name as the operating system knows it; empty for a thread without one.
BRIO_HIDDEN inline std::string ThreadName() {
  std::array<char, 32> name{};
  pthread_getname_np(pthread_self(), name.data(), name.size());
  return name.data();
}

}  // namespace brio::fnd

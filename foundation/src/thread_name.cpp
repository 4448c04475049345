// SPDX-License-Identifier: MIT
#include "brio/fnd/thread_name.h"

#include <pthread.h>

#include <array>

namespace brio::fnd {

std::string ThreadName() {
  std::array<char, 32> name{};
  pthread_getname_np(pthread_self(), name.data(), name.size());
  return name.data();
}

}  // namespace brio::fnd

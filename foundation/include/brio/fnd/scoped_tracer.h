// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#pragma GCC visibility push(default)

namespace brio::fnd {

/// Writes `entry` to the process logger when it is made and `exit` when it ends, at level trace; an empty
/// text writes nothing. Belongs to one thread and lives on its stack.
class ScopedTracer {
 public:
  ScopedTracer(const std::string& entry, const std::string& exit);
  ~ScopedTracer();
  ScopedTracer(const ScopedTracer&) = delete;
  ScopedTracer& operator=(const ScopedTracer&) = delete;

 private:
  std::string exit_;
};

}  // namespace brio::fnd

#pragma GCC visibility pop

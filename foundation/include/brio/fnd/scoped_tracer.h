// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "brio/fnd/export.h"

namespace brio::fnd {

/// Writes `entry` to the process logger when it is made and `exit` when it ends, at level trace; an empty
/// text writes nothing. Belongs to one thread and lives on its stack.
class BRIO_EXPORT ScopedTracer {
 public:
  ScopedTracer(const std::string& entry, const std::string& exit) : exit_(exit) {
    if (!entry.empty()) Write(entry);
  }
  ~ScopedTracer() {
    if (!exit_.empty()) WriteExit();
  }
  ScopedTracer(const ScopedTracer&) = delete;
  ScopedTracer& operator=(const ScopedTracer&) = delete;

 private:
  static void Write(const std::string& record);
  void WriteExit() noexcept;

  std::string exit_;
};

}  // namespace brio::fnd

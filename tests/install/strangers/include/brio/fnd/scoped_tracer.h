// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace brio::fnd {

class ScopedTracer {
 public:
  ScopedTracer(const std::string& entry, const std::string& exit);
  ~ScopedTracer();

 private:
  long depth_;
};

}  // namespace brio::fnd

// SPDX-License-Identifier: MIT
#include "brio/fnd/scoped_tracer.h"

#include "brio/fnd/log.h"

namespace brio::fnd {
namespace {

constexpr std::int32_t trace = 0;

}  // namespace

ScopedTracer::ScopedTracer(const std::string& entry, const std::string& exit) : exit_(exit) {
  if (!entry.empty()) Log().Record(trace, entry);
}

ScopedTracer::~ScopedTracer() {
  if (exit_.empty()) return;
  try {
    Log().Record(trace, exit_);
  } catch (...) {  // a trace is not worth ending the process for
  }
}

}  // namespace brio::fnd

// SPDX-License-Identifier: MIT
#include "brio/fnd/log.h"
#include "brio/fnd/scoped_tracer.h"

namespace brio::fnd {
namespace {

struct Silent : Logger {
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
} silent;
Logger* installed = nullptr;

}  // namespace

Logger& Log() {
  return installed != nullptr ? *installed : silent;
}
bool HasLogger() {
  return installed != nullptr;
}
void InstallLogger(Logger& logger) {
  installed = &logger;
}

ScopedTracer::ScopedTracer(const std::string& entry, const std::string&) : depth_(1) {
  if (!entry.empty()) Log().Record(0, entry);
}
ScopedTracer::~ScopedTracer() {
  depth_ = 0;
}

}  // namespace brio::fnd

// SPDX-License-Identifier: MIT
#include "brio/fnd/log.h"

#include <unistd.h>

#include <atomic>

namespace brio::fnd {
namespace {

constexpr std::int32_t warning = 30;

// Standard error, one write a line: lines of several threads stay whole.
class StderrLogger final : public Logger {
 public:
  StderrLogger() { threshold = warning; }
  void Record(std::int32_t, const std::string& text) override { Record(text); }
  void Record(const std::string& text) override {
    const std::string line = text + '\n';
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
  }
};

constinit std::atomic<Logger*> installed{nullptr};

Logger& fallback() noexcept {
  // Never destroyed: a thread of the camera library may still log while the process ends.
  static Logger& logger = *new StderrLogger;
  return logger;
}

}  // namespace

Logger::~Logger() = default;

Logger& Log() noexcept {
  Logger* const logger = installed.load(std::memory_order_acquire);
  return logger != nullptr ? *logger : fallback();
}

bool HasLogger() noexcept {
  return installed.load(std::memory_order_acquire) != nullptr;
}

void SetLogger(Logger* logger) noexcept {
  installed.store(logger, std::memory_order_release);
}

}  // namespace brio::fnd

// SPDX-License-Identifier: MIT
#include "brio/fnd/log.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <string_view>

#include "brio/fnd/iso_time.h"
#include "brio/fnd/thread_name.h"

namespace brio::fnd {
namespace {

/// Standard error, one write a line: lines of several threads stay whole.
class StderrLogger final : public Logger {
 public:
  StderrLogger() { threshold = loglevel::Warning; }
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

std::string ComposeRecord(const SourceSite& site, fmt::string_view message) {
  const std::string time = IsoTimeNow(6);
  const std::string line = std::to_string(site.line);
  const std::string thread = ThreadName();
  const std::string_view file(site.file);
  const std::string_view function(site.function);
  std::string record;
  record.reserve(time.size() + file.size() + line.size() + function.size() + thread.size() + message.size() +
                 6);
  record.append(time).append(":").append(file).append(":").append(line).append(":").append(function);
  record.append(":").append(thread).append(": ").append(message.data(), message.size());
  return record;
}

void ScopedTracer::Write(const std::string& record) {
  Log().Record(loglevel::Trace, record);
}

void ScopedTracer::WriteExit() noexcept {
  try {
    Write(exit_);
  } catch (...) {  // a trace is not worth ending the process for
  }
}

namespace detail {

void WriteRecord(Logger& logger, std::int32_t level, const SourceSite& site, fmt::string_view format,
                 fmt::format_args args) {
  logger.Record(level, ComposeRecord(site, fmt::vformat(format, args)));
}

void WriteRecord(Logger& logger, const SourceSite& site, fmt::string_view format, fmt::format_args args) {
  logger.Record(ComposeRecord(site, fmt::vformat(format, args)));
}

}  // namespace detail
}  // namespace brio::fnd

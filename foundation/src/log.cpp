// SPDX-License-Identifier: MIT
#include "brio/fnd/log.h"

#include <fmt/compile.h>
#include <fmt/format.h>
#include <unistd.h>

#include <atomic>

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

void appendPrefix(fmt::memory_buffer& record, const SourceSite& site) {
  fmt::format_to(fmt::appender(record), FMT_COMPILE("{}:{}:{}:{}:{}: "), IsoTimeNow(6), site.file, site.line,
                 site.function, ThreadName());
}

// What a camera says may hold line ends: a record is one line all the same.
std::string oneLine(const fmt::memory_buffer& record) {
  std::string line(record.data(), record.size());
  for (const char end : {'\n', '\r'}) {
    for (std::size_t at = line.find(end); at != line.npos; at = line.find(end, at)) line[at] = ' ';
  }
  return line;
}

// Formatted in place behind its prefix: the message is copied once.
std::string compose(const SourceSite& site, fmt::string_view format, fmt::format_args args) {
  fmt::memory_buffer record;
  appendPrefix(record, site);
  fmt::vformat_to(fmt::appender(record), format, args);
  return oneLine(record);
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
  fmt::memory_buffer record;
  appendPrefix(record, site);
  record.append(message);
  return oneLine(record);
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
  logger.Record(level, compose(site, format, args));
}

void WriteRecord(Logger& logger, const SourceSite& site, fmt::string_view format, fmt::format_args args) {
  logger.Record(compose(site, format, args));
}

}  // namespace detail
}  // namespace brio::fnd

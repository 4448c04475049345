// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/compile.h>
#include <fmt/format.h>

#include <cstdint>
#include <string>

#include "brio/fnd/export.h"
#include "brio/fnd/iso_time.h"
#include "brio/fnd/log.h"
#include "brio/fnd/scoped_tracer.h"
#include "brio/fnd/thread_name.h"

// How a record is made. The process logger only receives finished lines: whoever logs tests the level and
// composes the record itself, so all of this is compiled into it and hidden there.

namespace brio::fnd {

/// Levels of records. A logger may use any number between them as its threshold.
namespace loglevel {
inline constexpr std::int32_t Trace = 0;
inline constexpr std::int32_t Debug = 10;
inline constexpr std::int32_t Info = 20;
inline constexpr std::int32_t Warning = 30;
inline constexpr std::int32_t Error = 40;
}  // namespace loglevel

/// Where a logging statement stands.
struct SourceSite {
  const char* file;
  int line;
  const char* function;
};

namespace detail {

BRIO_HIDDEN inline void appendPrefix(fmt::memory_buffer& record, const SourceSite& site) {
  fmt::format_to(fmt::appender(record), FMT_COMPILE("{}:{}:{}:{}:{}: "), IsoTimeNow(6), site.file, site.line,
                 site.function, ThreadName());
}

// What a camera says may hold line ends: a record is one line all the same.
BRIO_HIDDEN inline std::string oneLine(const fmt::memory_buffer& record) {
  std::string line(record.data(), record.size());
  for (const char end : {'\n', '\r'}) {
    for (std::size_t at = line.find(end); at != line.npos; at = line.find(end, at)) line[at] = ' ';
  }
  return line;
}

// Formatted in place behind its prefix: the message is copied once.
BRIO_HIDDEN inline std::string composeFormatted(const SourceSite& site, fmt::string_view format,
                                                fmt::format_args args) {
  fmt::memory_buffer record;
  appendPrefix(record, site);
  fmt::vformat_to(fmt::appender(record), format, args);
  return oneLine(record);
}

// The format string is checked against its arguments while compiling; the work is in one function for all.
template <typename... Args>
void Record(Logger& logger, std::int32_t level, const SourceSite& site, fmt::format_string<Args...> format,
            const Args&... args) {
  logger.Record(level, composeFormatted(site, format, fmt::make_format_args(args...)));
}

template <typename... Args>
void RecordAlways(Logger& logger, const SourceSite& site, fmt::format_string<Args...> format,
                  const Args&... args) {
  logger.Record(composeFormatted(site, format, fmt::make_format_args(args...)));
}

}  // namespace detail

/// The whole line of a record: time stamp, file, line, function, thread, message. Any thread.
BRIO_HIDDEN inline std::string ComposeRecord(const SourceSite& site, fmt::string_view message) {
  fmt::memory_buffer record;
  detail::appendPrefix(record, site);
  record.append(message);
  return detail::oneLine(record);
}

}  // namespace brio::fnd

#define BRIO_SOURCE_SITE         \
  ::brio::fnd::SourceSite {      \
    __FILE__, __LINE__, __func__ \
  }

/// Logs a message at a level: below the logger's threshold one call and one comparison, nothing else.
/// Never use it inside a lambda: the record would name the lambda's call operator.
#define BRIO_LOG(level, ...)                                                           \
  do {                                                                                 \
    ::brio::fnd::Logger& brioLogger = ::brio::fnd::Log();                              \
    if (brioLogger.threshold <= (level))                                               \
      ::brio::fnd::detail::Record(brioLogger, (level), BRIO_SOURCE_SITE, __VA_ARGS__); \
  } while (false)

#define BRIO_LOG_DEBUG(...) BRIO_LOG(::brio::fnd::loglevel::Debug, __VA_ARGS__)
#define BRIO_LOG_INFO(...) BRIO_LOG(::brio::fnd::loglevel::Info, __VA_ARGS__)
#define BRIO_LOG_WARNING(...) BRIO_LOG(::brio::fnd::loglevel::Warning, __VA_ARGS__)
#define BRIO_LOG_ERROR(...) BRIO_LOG(::brio::fnd::loglevel::Error, __VA_ARGS__)

/// Logs a message without a level: the threshold is not asked.
#define BRIO_LOG_ALWAYS(...) \
  ::brio::fnd::detail::RecordAlways(::brio::fnd::Log(), BRIO_SOURCE_SITE, __VA_ARGS__)

/// Traces the enclosing function from here to its end; its record's message is the compiler's own signature.
#define BRIO_TRACE_SCOPE()                                                                              \
  const ::brio::fnd::ScopedTracer brioScopedTracer(                                                     \
      ::brio::fnd::HasLogger() && ::brio::fnd::Log().threshold <= ::brio::fnd::loglevel::Trace          \
          ? ::brio::fnd::ComposeRecord(BRIO_SOURCE_SITE, static_cast<const char*>(__PRETTY_FUNCTION__)) \
          : std::string(),                                                                              \
      std::string())

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "brio/fnd/export.h"
#include "brio/fnd/fmt.h"
#include "brio/fnd/scoped_tracer.h"

namespace brio::fnd {

/// Levels of records. A logger may use any number between them as its threshold.
namespace loglevel {
inline constexpr std::int32_t Trace = 0;
inline constexpr std::int32_t Debug = 10;
inline constexpr std::int32_t Info = 20;
inline constexpr std::int32_t Warning = 30;
inline constexpr std::int32_t Error = 40;
}  // namespace loglevel

/// Receives finished records, one line of text each, without a newline. Several threads call it at once;
/// keeping their lines apart is the logger's business.
class BRIO_EXPORT Logger {
 public:
  /// Records below this level are not composed at all. Set it before the logger is installed, or while no
  /// other thread logs.
  std::int32_t threshold = loglevel::Info;

  virtual ~Logger();
  /// A record at or above the threshold.
  virtual void Record(std::int32_t level, const std::string& text) = 0;
  /// A record that is written whatever the threshold.
  virtual void Record(const std::string& text) = 0;
};

/// The process logger: the installed one, else a fallback that writes records at warning and above, and those
/// without a level, to standard error, one write a line. Any thread.
BRIO_EXPORT Logger& Log() noexcept;

/// True only while a host's logger is installed. Any thread.
BRIO_EXPORT bool HasLogger() noexcept;

/// Installs the host's logger, or takes it out again (null). The caller keeps ownership, and keeps the logger
/// alive until no thread can be inside it: take it out after the adapters are disconnected.
BRIO_EXPORT void SetLogger(Logger* logger) noexcept;

/// Where a logging statement stands.
struct SourceSite {
  const char* file;
  int line;
  const char* function;
};

/// The whole line of a record: time stamp, file, line, function, thread, message. Any thread.
BRIO_EXPORT std::string ComposeRecord(const SourceSite& site, fmt::string_view message);

namespace detail {

BRIO_EXPORT void WriteRecord(Logger& logger, std::int32_t level, const SourceSite& site,
                             fmt::string_view format, fmt::format_args args);
BRIO_EXPORT void WriteRecord(Logger& logger, const SourceSite& site, fmt::string_view format,
                             fmt::format_args args);

// The format string is checked against its arguments while compiling; the work is done out of line.
template <typename... Args>
void Record(Logger& logger, std::int32_t level, const SourceSite& site, fmt::format_string<Args...> format,
            const Args&... args) {
  WriteRecord(logger, level, site, format, fmt::make_format_args(args...));
}

template <typename... Args>
void RecordAlways(Logger& logger, const SourceSite& site, fmt::format_string<Args...> format,
                  const Args&... args) {
  WriteRecord(logger, site, format, fmt::make_format_args(args...));
}

}  // namespace detail
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

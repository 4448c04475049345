// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#pragma GCC visibility push(default)

namespace brio::fnd {

/// Receives finished records, one line of text each, without a newline. Several threads call it at once;
/// keeping their lines apart is the logger's business.
class Logger {
 public:
  /// Records below this level are not composed at all: trace 0, debug 10, info 20, warning 30, error 40, or
  /// any number between. Set it before the logger is installed, or while no other thread logs.
  std::int32_t threshold = 20;

  virtual ~Logger();
  /// A record at or above the threshold.
  virtual void Record(std::int32_t level, const std::string& text) = 0;
  /// A record that is written whatever the threshold.
  virtual void Record(const std::string& text) = 0;
};

/// The process logger: the installed one, else a fallback that writes records at warning and above, and those
/// without a level, to standard error, one write a line. Any thread.
Logger& Log() noexcept;

/// True only while a host's logger is installed. Any thread.
bool HasLogger() noexcept;

/// Installs the host's logger, or takes it out again (null). The caller keeps ownership, and keeps the logger
/// alive until no thread can be inside it: take it out after the adapters are disconnected.
void SetLogger(Logger* logger) noexcept;

}  // namespace brio::fnd

#pragma GCC visibility pop

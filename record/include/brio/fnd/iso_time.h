// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/compile.h>
#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>

#include "brio/fnd/export.h"

namespace brio::fnd {

namespace detail {

BRIO_HIDDEN inline void appendField(std::string& text, char separator, int number) {
  const char field[] = {separator, static_cast<char>('0' + number / 10),
                        static_cast<char>('0' + number % 10)};
  text.append(field, sizeof field);
}

// fmt's shortest form with an exponent, spelled out with leading zeros instead.
BRIO_HIDDEN inline std::string positional(const std::string& scientific) {
  const std::size_t mark = scientific.find('e');
  if (mark == std::string::npos || scientific[mark + 1] != '-') return scientific;
  const bool negative = scientific.front() == '-';
  std::string digits;
  for (const char c : scientific.substr(0, mark)) {
    if (c >= '0' && c <= '9') digits += c;
  }
  const int exponent = std::stoi(scientific.substr(mark + 1));
  const auto zeros = static_cast<std::size_t>(-exponent - 1);
  return (negative ? "-0." : "0.") + std::string(zeros, '0') + digits;
}

}  // namespace detail

/// UTC time stamp such as 2026-03-04T05:06:07.123457 of `time` in seconds since the Unix epoch. The fraction
/// keeps at most `precision` significant digits, without trailing zeros and never with an exponent; a
/// fraction of zero, or one that rounds to one, is left out. No zone designator. Safe on any thread;
/// independent of the locale.
BRIO_HIDDEN inline std::string IsoTime(double time, std::uint8_t precision) {
  const auto whole = static_cast<std::int64_t>(time);
  const auto seconds = static_cast<std::time_t>(whole);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  std::string text = fmt::format(FMT_COMPILE("{}"), utc.tm_year + 1900);
  text.reserve(40);
  detail::appendField(text, '-', utc.tm_mon + 1);
  detail::appendField(text, '-', utc.tm_mday);
  detail::appendField(text, 'T', utc.tm_hour);
  detail::appendField(text, ':', utc.tm_min);
  detail::appendField(text, ':', utc.tm_sec);
  if (precision == 0) return text;
  const double fraction = time - static_cast<double>(whole);
  const std::string digits =
      detail::positional(fmt::format("{:.{}}", fraction, static_cast<unsigned>(precision)));
  return text.append(digits, 1);  // without the zero before the point
}

/// `IsoTime` of the system clock.
BRIO_HIDDEN inline std::string IsoTimeNow(std::int8_t precision) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
  return IsoTime(static_cast<double>(nanoseconds) / 1e9, static_cast<std::uint8_t>(precision));
}

}  // namespace brio::fnd

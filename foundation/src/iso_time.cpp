// SPDX-License-Identifier: MIT
#include "brio/fnd/iso_time.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <chrono>
#include <ctime>

namespace brio::fnd {
namespace {

void appendField(std::string& text, char separator, int number) {
  const char field[] = {separator, static_cast<char>('0' + number / 10),
                        static_cast<char>('0' + number % 10)};
  text.append(field, sizeof field);
}

// fmt's shortest form with an exponent, spelled out with leading zeros instead.
std::string positional(const std::string& scientific) {
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

}  // namespace

std::string IsoTime(double time, std::uint8_t precision) {
  const auto whole = static_cast<std::int64_t>(time);
  const auto seconds = static_cast<std::time_t>(whole);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  std::string text = fmt::format(FMT_COMPILE("{}"), utc.tm_year + 1900);
  text.reserve(40);
  appendField(text, '-', utc.tm_mon + 1);
  appendField(text, '-', utc.tm_mday);
  appendField(text, 'T', utc.tm_hour);
  appendField(text, ':', utc.tm_min);
  appendField(text, ':', utc.tm_sec);
  if (precision == 0) return text;
  const double fraction = time - static_cast<double>(whole);
  const std::string digits = positional(fmt::format("{:.{}}", fraction, static_cast<unsigned>(precision)));
  return text.append(digits, 1);  // without the zero before the point
}

std::string IsoTimeNow(std::int8_t precision) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
  return IsoTime(static_cast<double>(nanoseconds) / 1e9, static_cast<std::uint8_t>(precision));
}

}  // namespace brio::fnd

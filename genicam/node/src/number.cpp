// SPDX-License-Identifier: MIT
#include "number.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace vireo::genicam {
namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

bool equalsIgnoringCase(std::string_view text, std::string_view lower) {
  const auto same = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; };
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), same);
}

// All of `text` or nothing. from_chars knows no locale and no leading plus.
template <typename T, typename... Base>
std::optional<T> whole(std::string_view text, Base... base) {
  T number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base...);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

bool takePrefix(std::string_view& text, char sign) {
  if (!text.starts_with(sign)) return false;
  text.remove_prefix(1);
  return true;
}

std::optional<std::uint64_t> parseMagnitude(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) return whole<std::uint64_t>(text.substr(2), 16);
  return whole<std::uint64_t>(text, 10);
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
  std::string_view digits = trimmed(text);
  const bool negative = takePrefix(digits, '-');
  if (!negative) takePrefix(digits, '+');
  if (const std::optional<std::uint64_t> magnitude = parseMagnitude(digits)) {
    return static_cast<std::int64_t>(negative ? 0 - *magnitude : *magnitude);
  }
  const std::optional<double> number = whole<double>(digits);
  if (!number || !(*number >= 0 && *number < kTwoTo63)) return std::nullopt;
  const auto integer = static_cast<std::int64_t>(*number);
  return negative ? -integer : integer;
}

std::optional<double> parseFloat(std::string_view text) {
  std::string_view digits = trimmed(text);
  const bool negative = takePrefix(digits, '-');
  if (!negative) takePrefix(digits, '+');
  if (digits.starts_with('-')) return std::nullopt;
  std::optional<double> number;
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    if (const auto magnitude = parseMagnitude(digits)) number = static_cast<double>(*magnitude);
  } else {
    number = whole<double>(digits);
  }
  if (!number || std::isnan(*number)) return std::nullopt;
  const double finite = std::min(*number, std::numeric_limits<double>::max());
  return negative ? -finite : finite;
}

std::optional<bool> parseBoolean(std::string_view text) {
  const std::string_view word = trimmed(text);
  if (equalsIgnoringCase(word, "true") || equalsIgnoringCase(word, "yes")) return true;
  if (equalsIgnoringCase(word, "false") || equalsIgnoringCase(word, "no")) return false;
  const std::optional<std::int64_t> number = parseInteger(word);
  if (!number) return std::nullopt;
  return *number != 0;
}

std::int64_t toInteger(const Number& number) {
  if (const auto* const integer = std::get_if<std::int64_t>(&number)) return *integer;
  const double value = std::get<double>(number);
  if (value >= kTwoTo63) return std::numeric_limits<std::int64_t>::max();
  if (value < -kTwoTo63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

double toFloat(const Number& number) {
  return std::visit([](auto held) { return static_cast<double>(held); }, number);
}

bool isZero(const Number& number) {
  return std::visit([](auto held) { return held == 0; }, number);
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#include "number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace vireo::genicam {
namespace {

constexpr std::uint64_t twoTo63Bits = std::uint64_t{1} << 63;
constexpr double twoTo63 = 9223372036854775808.0;

bool equalsIgnoringCase(std::string_view text, std::string_view lower) {
  const auto same = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; };
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), same);
}

// All of `text` or nothing. from_chars knows no locale and no leading plus.
template <typename T>
std::optional<T> whole(std::string_view text, int base = 10) {
  T number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

// Whether a decimal number that no double can hold is too large, not too small.
bool isHuge(std::string_view digits) {
  const std::size_t end = std::min(digits.find_first_of("eE"), digits.size());
  const std::string_view mantissa = digits.substr(0, end);
  const auto first = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
  const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  std::string_view exponent = digits.substr(std::min(end + 1, digits.size()));
  const bool negative = exponent.starts_with('-');
  if (exponent.starts_with('+')) exponent.remove_prefix(1);
  const std::int64_t endless = std::int64_t{negative ? -1 : 1} << 60;
  return point - first + (exponent.empty() ? 0 : whole<std::int32_t>(exponent).value_or(endless)) > 0;
}

std::optional<double> parseDecimal(std::string_view digits) {
  if (digits.starts_with('-')) return std::nullopt;  // the sign is taken already
  double number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (stop != end || error == std::errc::invalid_argument) return std::nullopt;
  if (error == std::errc()) return number;
  return isHuge(digits) ? std::numeric_limits<double>::max() : 0.0;
}

bool takePrefix(std::string_view& text, char sign) {
  if (!text.starts_with(sign)) return false;
  text.remove_prefix(1);
  return true;
}

std::optional<std::uint64_t> parseMagnitude(std::string_view text) {
  if (isHexadecimal(text)) return whole<std::uint64_t>(text.substr(2), 16);
  return whole<std::uint64_t>(text);
}

}  // namespace

bool isHexadecimal(std::string_view digits) {
  return digits.size() > 1 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
}

std::string_view trimmed(std::string_view text) {
  const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::optional<Number> parseInteger(std::string_view text) {
  constexpr Number lowest = std::numeric_limits<std::int64_t>::min();
  std::string_view digits = trimmed(text);
  const bool negative = takePrefix(digits, '-');
  if (!negative) takePrefix(digits, '+');
  if (const std::optional<std::uint64_t> magnitude = parseMagnitude(digits)) {
    if (negative)
      return *magnitude > twoTo63Bits ? lowest : Number(static_cast<std::int64_t>(0 - *magnitude));
    return *magnitude < twoTo63Bits ? Number(static_cast<std::int64_t>(*magnitude)) : Number(*magnitude);
  }
  const std::optional<double> number = parseDecimal(digits);
  if (!number || !(*number >= 0)) return std::nullopt;
  if (*number < twoTo63) return static_cast<std::int64_t>(negative ? -*number : *number);
  return negative ? std::optional(lowest) : std::nullopt;
}

std::optional<double> parseFloat(std::string_view text) {
  std::string_view digits = trimmed(text);
  const bool negative = takePrefix(digits, '-');
  if (!negative) takePrefix(digits, '+');
  std::optional<double> number;
  if (isHexadecimal(digits)) {
    if (const auto magnitude = parseMagnitude(digits)) number = static_cast<double>(*magnitude);
  } else {
    number = parseDecimal(digits);
  }
  if (!number || std::isnan(*number)) return std::nullopt;
  const double finite = std::min(*number, std::numeric_limits<double>::max());
  return negative ? -finite : finite;
}

std::optional<bool> parseBoolean(std::string_view text) {
  const std::string_view word = trimmed(text);
  if (equalsIgnoringCase(word, "true") || equalsIgnoringCase(word, "yes")) return true;
  if (equalsIgnoringCase(word, "false") || equalsIgnoringCase(word, "no")) return false;
  const std::optional<Number> number = parseInteger(word);
  return number ? std::optional(!isZero(*number)) : std::nullopt;
}

std::int64_t toInteger(const Number& number) {
  if (const auto* const integer = std::get_if<std::int64_t>(&number)) return *integer;
  if (const auto* const high = std::get_if<std::uint64_t>(&number)) return static_cast<std::int64_t>(*high);
  const double value = std::get<double>(number);
  if (value >= twoTo63) return std::numeric_limits<std::int64_t>::max();
  if (value < -twoTo63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

double toFloat(const Number& number) {
  return std::visit([](auto held) { return static_cast<double>(held); }, number);
}

bool isZero(const Number& number) {
  return std::visit([](auto held) { return held == 0; }, number);
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

namespace vireo::genicam {

/// A number of a description, as exact as it was written: unsigned from 2^63 on.
using Number = std::variant<std::int64_t, std::uint64_t, double>;

/// `text` without white space at its ends.
std::string_view trimmed(std::string_view text);

/// Whether a number without a sign begins with 0x.
bool isHexadecimal(std::string_view digits);

/// Decimal or hexadecimal (0x) up to 2^64-1, blanks around it allowed; below -2^63 it is -2^63. A number
/// written as a float is truncated. Nothing for what is not such a number.
std::optional<Number> parseInteger(std::string_view text);

/// Decimal, exponent or hexadecimal. Beyond the range of a double, and for infinities, it is the largest
/// double; too small for one it is 0. Nothing for what is not a number.
std::optional<double> parseFloat(std::string_view text);

/// true/false, yes/no in any case, or a number.
std::optional<bool> parseBoolean(std::string_view text);

/// As a camera's int64 holds it: 2^63 and more wraps to the negative number of the same bits. A float is
/// truncated and saturated.
std::int64_t toInteger(const Number& number);
double toFloat(const Number& number);
bool isZero(const Number& number);

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

namespace vireo::genicam {

/// A number of a description, as exact as it was written.
using Number = std::variant<std::int64_t, double>;

/// `text` without white space at its ends.
std::string_view trimmed(std::string_view text);

/// Decimal or hexadecimal (0x), blanks around it allowed; from 2^63 to 2^64-1 it wraps to the negative number
/// of the same bits, below -2^63 it is -2^63. A number written as a float is truncated. Nothing for what is
/// no such number.
std::optional<std::int64_t> parseInteger(std::string_view text);

/// Decimal, exponent or hexadecimal. Beyond the range of a double, and for infinities, it is the largest
/// double; too small for one it is 0. Nothing for what is no number.
std::optional<double> parseFloat(std::string_view text);

/// true/false, yes/no in any case, or a number.
std::optional<bool> parseBoolean(std::string_view text);

std::int64_t toInteger(const Number& number);  ///< truncated, saturated to int64
double toFloat(const Number& number);
bool isZero(const Number& number);

}  // namespace vireo::genicam

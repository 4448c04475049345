// SPDX-License-Identifier: MIT
#include "parameters/integers.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include "terminal/ipv4.h"
#include "terminal/numbers.h"

namespace vireo::host {
namespace {

using common::Parameter;

constexpr double smallest = std::numeric_limits<int>::min();
constexpr double largest = std::numeric_limits<int>::max();
constexpr double largestUnsigned = std::numeric_limits<std::uint32_t>::max();
constexpr std::int64_t largestSettable = std::int64_t{1} << 53;  // a double holds all whole numbers up to it

struct Limits {
  double min = -0x1p63;
  double max = 0x1p63;
};

// A camera that says nonsense of its bounds says nothing.
Limits limitsOf(const genicam::DetailedFeatures& features, const Parameter& parameter) {
  Limits limits;
  const auto narrow = [&limits](double min, double max) {
    const Limits both = {std::max(limits.min, min), std::min(limits.max, max)};
    if (both.min <= both.max) limits = both;
  };
  const auto node = features.nodes.find(parameter.name);
  if (node != features.nodes.end()) {
    if (const auto* const integer = std::get_if<genicam::IntegerNode>(&node->second))
      narrow(static_cast<double>(integer->min), static_cast<double>(integer->max));
  }
  if (parameter.metadata && parameter.metadata->min && parameter.metadata->max)
    narrow(*parameter.metadata->min, *parameter.metadata->max);
  return limits;
}

// A constant of the description is known whole, whatever its range.
std::optional<Limits> constantOf(const genicam::DetailedFeatures& features, const Parameter& parameter) {
  const auto node = features.nodes.find(parameter.name);
  if (node == features.nodes.end()) return std::nullopt;
  const auto* const integer = std::get_if<genicam::IntegerNode>(&node->second);
  if (integer == nullptr || integer->accessMode != genicam::AccessMode::ReadOnly || integer->value == 0 ||
      static_cast<int>(integer->value) != std::get<int>(parameter.value))
    return std::nullopt;
  return Limits{static_cast<double>(integer->value), static_cast<double>(integer->value)};
}

std::string macText(std::int64_t address, bool whole) {
  std::string text = whole ? "" : "??:??";
  for (int place = whole ? 5 : 3; place >= 0; --place)
    text += fmt::format("{}{:02x}", text.empty() ? "" : ":", address >> 8 * place & 0xff);
  return text;
}

std::optional<std::int64_t> macFrom(const std::string& text) {
  std::int64_t address = 0;
  if (text.size() != 17) return std::nullopt;
  for (std::size_t at = 0; at < text.size(); at += 3) {
    const auto byte = NumberFrom<std::uint8_t>(std::string_view(text).substr(at, 2), 16);
    if (!byte || (at > 0 && text[at - 1] != ':')) return std::nullopt;
    address = address << 8 | *byte;
  }
  return address;
}

}  // namespace

IntegerForm::Notation NotationOf(const genicam::DetailedFeatures& features, const std::string& name) {
  const auto details = features.details.find(name);
  if (details == features.details.end()) return IntegerForm::Notation::Decimal;
  if (details->second.representation == "IPV4Address") return IntegerForm::Notation::Ipv4;
  if (details->second.representation == "MACAddress") return IntegerForm::Notation::Mac;
  return IntegerForm::Notation::Decimal;
}

IntegerForm FormOf(const genicam::DetailedFeatures& features, const Parameter& parameter) {
  using Bits = IntegerForm::Bits;
  if (!std::holds_alternative<int>(parameter.value)) return {};
  const IntegerForm::Notation notation = NotationOf(features, parameter.name);
  if (notation == IntegerForm::Notation::Ipv4) return {Bits::Unsigned, notation};
  const Limits limits = constantOf(features, parameter).value_or(limitsOf(features, parameter));
  if (limits.min >= smallest && limits.max <= largest) return {Bits::Signed, notation};
  return {limits.min >= 0 && limits.max <= largestUnsigned ? Bits::Unsigned : Bits::Low, notation};
}

bool IsWhole(const Parameter& parameter, const IntegerForm& form) {
  return !std::holds_alternative<int>(parameter.value) || form.bits != IntegerForm::Bits::Low;
}

std::int64_t KnownInteger(int delivered, const IntegerForm& form) {
  return form.bits == IntegerForm::Bits::Signed ? std::int64_t{delivered}
                                                : std::int64_t{static_cast<std::uint32_t>(delivered)};
}

std::string ShownText(const Parameter& parameter, const IntegerForm& form) {
  const int* const delivered = std::get_if<int>(&parameter.value);
  if (delivered == nullptr) return parameter.GetValueAsString();
  const bool whole = form.bits != IntegerForm::Bits::Low;
  const std::int64_t number = KnownInteger(*delivered, form);
  std::string text = fmt::format("{}", number);
  if (form.notation == IntegerForm::Notation::Ipv4) text = Ipv4Text(static_cast<std::uint32_t>(number));
  if (form.notation == IntegerForm::Notation::Mac) text = macText(number, whole);
  return whole ? text : text + " (low 32 bits)";
}

std::optional<std::int64_t> IntegerFrom(const std::string& text, const IntegerForm& form) {
  std::optional<std::int64_t> number;
  if (form.notation == IntegerForm::Notation::Ipv4) number = Ipv4From(text);
  if (form.notation == IntegerForm::Notation::Mac) number = macFrom(text);
  if (number) return number;
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  number = hexadecimal ? NumberFrom<std::int64_t>(std::string_view(text).substr(2), 16)
                       : NumberFrom<std::int64_t>(text);
  return number && *number >= -largestSettable && *number <= largestSettable ? number : std::nullopt;
}

const char* IntegerWords(const IntegerForm& form) {
  switch (form.notation) {
    case IntegerForm::Notation::Ipv4:
      return "an address such as 192.168.0.7, or a whole number";
    case IntegerForm::Notation::Mac:
      return "an address such as 00:11:22:aa:bb:cc, or a whole number";
    case IntegerForm::Notation::Decimal:
      break;
  }
  return "a whole number of at most 53 bits, or 0x...";
}

}  // namespace vireo::host

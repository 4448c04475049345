// SPDX-License-Identifier: MIT
#include "parameter_values.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>
#include <string_view>

#include "exit_status.h"
#include "vireo/genicam/xml_parser.h"

namespace vireo::host {
namespace {

using common::Parameter;

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

template <typename Number>
std::optional<Number> wholeNumber(std::string_view text, int base) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// Decimal, or hexadecimal after 0x. Numbers from 2^31 to 2^32-1 keep their bits: addresses look like that.
std::optional<int> parseInteger(std::string_view text) {
  std::optional<std::int64_t> number;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    number = wholeNumber<std::int64_t>(text.substr(2), 16);
  } else {
    number = wholeNumber<std::int64_t>(text, 10);
  }
  if (!number || *number < std::numeric_limits<int>::min() ||
      *number > std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<int>(static_cast<std::uint32_t>(*number));
}

std::optional<double> parseFloat(std::string_view text) {
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::optional<bool> parseBool(const std::string& text) {
  const std::string word = lowered(text);
  if (word == "true" || word == "1" || word == "on" || word == "yes") return true;
  if (word == "false" || word == "0" || word == "off" || word == "no") return false;
  return std::nullopt;
}

template <typename T>
common::ParameterValue required(const std::optional<T>& value, const std::string& name,
                                const std::string& text, const char* wanted) {
  if (value) return *value;
  throw Failure(ExitStatus::Failed, fmt::format("{} takes {}, not '{}'", name, wanted, text));
}

/// Steps of one character that turn one name into the other, case aside.
std::size_t distance(const std::string& one, const std::string& other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
    }
  }
  return row.back();
}

std::optional<double> numberOf(const Parameter& parameter, double max) {
  if (const int* const number = std::get_if<int>(&parameter.value)) {
    // A bound above 2^31 means that the camera takes the 32 bits without a sign.
    return *number < 0 && max > std::numeric_limits<int>::max() ? *number + 0x1p32 : *number;
  }
  if (const double* const number = std::get_if<double>(&parameter.value)) return *number;
  return std::nullopt;
}

std::optional<std::string> boundsObjection(const Parameter& wanted,
                                           const common::ParameterMetadata& metadata) {
  if (!metadata.min || !metadata.max) return std::nullopt;
  const std::optional<double> number = numberOf(wanted, *metadata.max);
  if (!number || (*number >= *metadata.min && *number <= *metadata.max)) return std::nullopt;
  return fmt::format("{} takes {} to {}{}{}, not {}", wanted.name, *metadata.min, *metadata.max,
                     metadata.unit.empty() ? "" : " ", metadata.unit, *number);
}

std::optional<std::string> stepObjection(const Parameter& wanted, const common::ParameterMetadata& metadata) {
  const int* const number = std::get_if<int>(&wanted.value);
  if (number == nullptr || !metadata.min || metadata.increment.value_or(1.0) <= 1.0) return std::nullopt;
  const double steps = (*number - *metadata.min) / *metadata.increment;
  if (steps == std::floor(steps)) return std::nullopt;
  const double below = *metadata.min + std::floor(steps) * *metadata.increment;
  return fmt::format("{} goes in steps of {} from {}: {} or {}, not {}", wanted.name, *metadata.increment,
                     *metadata.min, below, below + *metadata.increment, *number);
}

std::optional<std::string> entryObjection(const Parameter& wanted,
                                          const common::ParameterMetadata& metadata) {
  const std::string* const text = std::get_if<std::string>(&wanted.value);
  const auto& entries = metadata.entries;
  if (text == nullptr || entries.empty() || std::count(entries.begin(), entries.end(), *text) != 0) {
    return std::nullopt;
  }
  return fmt::format("{} has no entry '{}', it has: {}", wanted.name, *text, fmt::join(entries, " "));
}

}  // namespace

ParametersByName ScanByName(Camera& camera) {
  ParametersByName byName;
  for (Parameter& parameter : camera.Adapter().Scan()) byName[parameter.name] = std::move(parameter);
  return byName;
}

genicam::NodeMap DescribedNodes(Camera& camera) {
  try {
    return genicam::XmlParser::parse(camera.Adapter().GetNativeParameterDocument().content);
  } catch (const std::runtime_error&) {
    return {};
  }
}

Parameter ParseValue(const Parameter& like, const std::string& text) {
  Parameter parameter = like;
  if (std::holds_alternative<int>(like.value)) {
    parameter.value =
        required(parseInteger(text), like.name, text, "a whole number of at most 32 bits, or 0x...");
  } else if (std::holds_alternative<bool>(like.value)) {
    parameter.value = required(parseBool(text), like.name, text, "true or false");
  } else if (std::holds_alternative<std::string>(like.value)) {
    parameter.value = text;
  } else {
    parameter.value = required(parseFloat(text), like.name, text, "a number such as 12.5 or 1e4");
    parameter.type = common::DataType::Double;
  }
  return parameter;
}

std::string ValueText(const Json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

Parameter ParseJson(const Parameter& like, const Json& value) {
  return ParseValue(like, ValueText(value));
}

bool IsCommand(const genicam::NodeMap& nodes, const std::string& name) {
  const auto node = nodes.find(name);
  return node != nodes.end() && getNodeType(node->second) == genicam::NodeType::Command;
}

std::optional<std::string> Objection(const Parameter& wanted, const ParametersByName& scanned) {
  const auto found = scanned.find(wanted.name);
  if (found == scanned.end() || !found->second.metadata) return std::nullopt;  // write-only: nothing is known
  const common::ParameterMetadata& metadata = *found->second.metadata;
  if (!metadata.writable) return fmt::format("{} is read-only", wanted.name);
  if (auto objection = boundsObjection(wanted, metadata)) return objection;
  if (auto objection = stepObjection(wanted, metadata)) return objection;
  return entryObjection(wanted, metadata);
}

bool SameValue(const Parameter& one, const Parameter& other) {
  const auto single = [](const Parameter& parameter) -> std::optional<float> {
    if (const double* const number = std::get_if<double>(&parameter.value))
      return static_cast<float>(*number);
    if (const float* const number = std::get_if<float>(&parameter.value)) return *number;
    return std::nullopt;
  };
  const std::optional<float> first = single(one);
  const std::optional<float> second = single(other);
  return first && second ? *first == *second : one.value == other.value;
}

Failure UnknownName(const std::string& name, const std::vector<std::string>& known) {
  const std::string wanted = lowered(name);
  std::string best;
  std::size_t bestDistance = std::max<std::size_t>(name.size() / 3, 2) + 1;
  for (const std::string& candidate : known) {
    const std::size_t steps = distance(wanted, lowered(candidate));
    if (steps >= bestDistance) continue;
    best = candidate;
    bestDistance = steps;
  }
  const std::string hint =
      best.empty() ? "'vireo-cam list' shows what it has" : fmt::format("did you mean {}?", best);
  return Failure(ExitStatus::Failed, fmt::format("the camera has no '{}': {}", name, hint));
}

}  // namespace vireo::host

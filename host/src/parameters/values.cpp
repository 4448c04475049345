// SPDX-License-Identifier: MIT
#include "parameters/values.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "camera/link_check.h"
#include "parameters/names.h"
#include "terminal/failure.h"
#include "terminal/numbers.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

using common::Parameter;

// An integer goes as 32 bits where they hold it with its sign, else as a double.
common::ParameterValue integerValue(std::int64_t number) {
  if (number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max())
    return static_cast<int>(number);
  return static_cast<double>(number);
}

std::optional<double> floatFrom(const std::string& text) {
  const auto number = NumberFrom<double>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<bool> boolFrom(const std::string& text) {
  const std::string word = Lowered(text);
  if (word == "true" || word == "1" || word == "on" || word == "yes") return true;
  if (word == "false" || word == "0" || word == "off" || word == "no") return false;
  return std::nullopt;
}

template <typename T>
T required(const std::optional<T>& value, const std::string& name, const std::string& text,
           const char* wanted) {
  if (value) return *value;
  throw Failure(ExitStatus::Failed, fmt::format("{} takes {}, not '{}'", name, wanted, text));
}

// The low bits of an integer, whichever way it goes to the camera.
std::optional<std::uint32_t> lowBits(const Parameter& parameter) {
  if (const auto* const number = std::get_if<int>(&parameter.value))
    return static_cast<std::uint32_t>(*number);
  if (const auto* const number = std::get_if<double>(&parameter.value))
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(*number));
  return std::nullopt;
}

std::optional<float> singlePrecision(const Parameter& parameter) {
  if (const auto* const number = std::get_if<double>(&parameter.value)) return static_cast<float>(*number);
  if (const auto* const number = std::get_if<float>(&parameter.value)) return *number;
  return std::nullopt;
}

}  // namespace

ParametersByName ScanByName(Camera& camera) {
  ParametersByName byName;
  for (Parameter& parameter : camera.Scan()) byName[parameter.name] = std::move(parameter);
  return byName;
}

std::string ReadInto(Camera& camera, Parameter& parameter) {
  try {
    parameter.value = camera.Adapter().Read(parameter.name).value;
    return "";
  } catch (const std::runtime_error& error) {
    CheckLinkAfter(camera, error);
    return error.what();
  }
}

std::string ReadKnown(Camera& camera, Parameter& parameter) {
  std::string failure = ReadInto(camera, parameter);
  const auto* const text = std::get_if<std::string>(&parameter.value);
  if (!failure.empty() || text == nullptr || !text->empty()) return failure;
  const auto node = camera.Nodes().find(parameter.name);
  const bool hasEntries =
      node != camera.Nodes().end() && getNodeType(node->second) == genicam::NodeType::Enumeration;
  return hasEntries ? noEntryText : "";
}

std::vector<Reading> ReadAll(Camera& camera) {
  std::vector<Reading> readings;
  for (Parameter& parameter : camera.Scan()) {
    Reading& reading = readings.emplace_back(Reading{std::move(parameter), ""});
    if (reading.parameter.metadata->readable && IsAvailable(camera.Nodes(), reading.parameter.name))
      reading.failure = ReadKnown(camera, reading.parameter);
  }
  camera.CheckLink();
  return readings;
}

Parameter ParseValue(const Parameter& like, const std::string& text, const IntegerForm& form) {
  Parameter parameter = like;
  if (std::holds_alternative<int>(like.value)) {
    const auto number = required(IntegerFrom(text, form), like.name, text, IntegerWords(form));
    parameter.value = integerValue(number);
  } else if (std::holds_alternative<bool>(like.value)) {
    parameter.value = required(boolFrom(text), like.name, text, "true or false");
  } else if (std::holds_alternative<std::string>(like.value)) {
    parameter.value = text;
  } else {
    parameter.value = required(floatFrom(text), like.name, text, "a number such as 12.5 or 1e4");
    parameter.type = common::DataType::Double;
  }
  return parameter;
}

Parameter ParseJson(const Parameter& like, const Json& value, const IntegerForm& form) {
  return ParseValue(like, ValueText(value), form);
}

Json ValueToJson(const Parameter& parameter, const IntegerForm& form) {
  if (const int* const number = std::get_if<int>(&parameter.value)) {
    if (form.notation != IntegerForm::Notation::Decimal) return ShownText(parameter, form);
    return KnownInteger(*number, form);
  }
  if (const bool* const flag = std::get_if<bool>(&parameter.value)) return *flag;
  const std::string text = parameter.GetValueAsString();
  if (std::holds_alternative<std::string>(parameter.value)) return text;
  return NumberFrom<double>(text).value_or(std::numeric_limits<double>::quiet_NaN());
}

bool SameValue(const Parameter& one, const Parameter& other) {
  if (std::holds_alternative<int>(one.value) || std::holds_alternative<int>(other.value))
    return lowBits(one) == lowBits(other);
  const std::optional<float> first = singlePrecision(one);
  const std::optional<float> second = singlePrecision(other);
  return first && second ? *first == *second : one.value == other.value;
}

}  // namespace vireo::host

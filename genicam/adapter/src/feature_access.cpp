// SPDX-License-Identifier: MIT
#include "feature_access.h"

#include <arv.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace vireo::genicam {
namespace {

// By the reported kind and not by the alternative: where the two differ, the access throws.
template <typename Visitor>
decltype(auto) visitKind(NodeVariant& node, NodeType kind, Visitor&& visitor) {
  switch (kind) {
    case NodeType::Integer:
      return visitor(std::get<IntegerNode>(node));
    case NodeType::Float:
      return visitor(std::get<FloatNode>(node));
    case NodeType::Boolean:
      return visitor(std::get<BooleanNode>(node));
    case NodeType::String:
      return visitor(std::get<StringNode>(node));
    case NodeType::Enumeration:
      return visitor(std::get<EnumerationNode>(node));
    case NodeType::Command:
    case NodeType::Category:
      break;
  }
  return visitor(NodeHeader());
}

template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

std::int64_t toInteger(const Parameter& parameter) {
  if (const int* const held = std::get_if<int>(&parameter.value)) return *held;
  const double truncated = std::trunc(parameter.GetValue<double>());
  constexpr double beyond = 0x1p63;
  if (!(truncated >= -beyond && truncated < beyond)) {
    throw std::runtime_error("Parameter '" + parameter.GetName() +
                             "' value out of range: " + parameter.GetValueAsString());
  }
  return static_cast<std::int64_t>(truncated);
}

double toFloat(const Parameter& parameter) {
  if (const double* const held = std::get_if<double>(&parameter.value)) return *held;
  if (const float* const held = std::get_if<float>(&parameter.value)) return *held;
  return parameter.GetValue<int>();
}

bool toBoolean(const Parameter& parameter) {
  if (const bool* const held = std::get_if<bool>(&parameter.value)) return *held;
  if (const int* const held = std::get_if<int>(&parameter.value)) return *held != 0;
  if (const double* const held = std::get_if<double>(&parameter.value)) return *held != 0.0;
  std::string text = parameter.GetValueAsString();
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text == "true" || text == "1" || text == "on" || text == "yes";
}

const char* kindWord(NodeType kind) {
  switch (kind) {
    case NodeType::Integer:
      return "integer";
    case NodeType::Float:
      return "float";
    case NodeType::Boolean:
      return "boolean";
    case NodeType::String:
      return "string";
    case NodeType::Enumeration:
    case NodeType::Command:
    case NodeType::Category:
      break;
  }
  return "enum";
}

std::string context(const char* action, const char* word, const std::string& name) {
  return std::string(action) + " " + word + " '" + name + "'";
}

// What fits the shortest command that a camera may have. Longer ones can fail on USB without an error.
constexpr std::size_t sureBytes = 40;

// Reports an error when the device holds another text than the one that it was sent, as far as it tells.
void requireText(ArvDevice* device, const char* feature, const std::string& text, GErrorGuard& error) {
  if (error.error != nullptr || text.size() <= sureBytes) return;
  GErrorGuard reading;
  const char* const held = arv_device_get_string_feature_value(device, feature, &reading.error);
  if (reading.error != nullptr || held == nullptr || text == held) return;
  g_set_error_literal(&error.error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TRANSFER_ERROR,
                      "the camera does not hold the text afterwards; it may be longer than its commands");
}

}  // namespace

std::optional<std::string> readValue(ArvDevice* device, const std::string& name, NodeVariant& node,
                                     NodeType kind, GErrorGuard& error) {
  const char* const feature = name.c_str();
  const char* text = nullptr;
  const auto readText = [&] { text = arv_device_get_string_feature_value(device, feature, &error.error); };
  visitKind(node, kind,
            Overloaded{
                [&](IntegerNode& integer) {
                  integer.value = arv_device_get_integer_feature_value(device, feature, &error.error);
                },
                [&](FloatNode& floating) {
                  storeFloat(floating, arv_device_get_float_feature_value(device, feature, &error.error));
                },
                [&](BooleanNode& boolean) {
                  boolean.value =
                      arv_device_get_boolean_feature_value(device, feature, &error.error) != FALSE;
                },
                [&](StringNode&) { readText(); },
                [&](EnumerationNode&) { readText(); },
                [](const NodeHeader&) {},
            });
  // Of a register that could not be read the library returns what lies in its memory, beside the error.
  if (text == nullptr || error.error != nullptr) return std::nullopt;
  return text;
}

void storeText(NodeVariant& node, NodeType kind, std::string text) {
  std::string& value =
      kind == NodeType::String ? std::get<StringNode>(node).value : std::get<EnumerationNode>(node).value;
  value = std::move(text);
}

void refreshBounds(ArvDevice* device, const std::string& name, NodeVariant& node, NodeType kind) {
  GErrorGuard error;
  const auto refresh = [&](auto& number, auto ask) {
    decltype(number.min) min{};
    decltype(number.max) max{};
    ask(device, name.c_str(), &min, &max, &error.error);
    if (error.error != nullptr) return;
    number.min = min;
    number.max = max;
  };
  if (kind == NodeType::Integer) refresh(std::get<IntegerNode>(node), arv_device_get_integer_feature_bounds);
  if (kind == NodeType::Float) refresh(std::get<FloatNode>(node), arv_device_get_float_feature_bounds);
}

FeatureValue toFeatureValue(const Parameter& parameter, NodeType kind) {
  switch (kind) {
    case NodeType::Integer:
      return toInteger(parameter);
    case NodeType::Float:
      return toFloat(parameter);
    case NodeType::Boolean:
      return toBoolean(parameter);
    case NodeType::String:
    case NodeType::Enumeration:
      return parameter.GetValue<std::string>();
    case NodeType::Command:
    case NodeType::Category:
      break;
  }
  return ExecuteCommand{};
}

void sendValue(ArvDevice* device, const std::string& name, const FeatureValue& value, GErrorGuard& error) {
  const char* const feature = name.c_str();
  GError** const slot = &error.error;
  std::visit(
      Overloaded{
          [&](std::int64_t number) { arv_device_set_integer_feature_value(device, feature, number, slot); },
          [&](double number) { arv_device_set_float_feature_value(device, feature, number, slot); },
          [&](bool flag) { arv_device_set_boolean_feature_value(device, feature, flag, slot); },
          [&](const std::string& text) {
            arv_device_set_string_feature_value(device, feature, text.c_str(), slot);
            requireText(device, feature, text, error);
          },
          [&](ExecuteCommand) { arv_device_execute_command(device, feature, slot); },
      },
      value);
}

void storeValue(NodeVariant& node, NodeType kind, const FeatureValue& value) {
  visitKind(
      node, kind,
      Overloaded{
          [&](IntegerNode& integer) { integer.value = std::get<std::int64_t>(value); },
          // The cache holds what a parameter can: single precision.
          [&](FloatNode& floating) { storeFloat(floating, static_cast<float>(std::get<double>(value))); },
          [&](BooleanNode& boolean) { boolean.value = std::get<bool>(value); },
          [&](StringNode& string) { string.value = std::get<std::string>(value); },
          [&](EnumerationNode& enumeration) { enumeration.value = std::get<std::string>(value); },
          [](const NodeHeader&) {},
      });
}

std::string readContext(NodeType kind, const std::string& name) {
  return context("Read", kindWord(kind), name);
}

std::string writeContext(NodeType kind, const std::string& name) {
  if (kind == NodeType::Command) return context("Execute", "command", name);
  return context("Write", kindWord(kind), name);
}

}  // namespace vireo::genicam

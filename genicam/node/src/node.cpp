// SPDX-License-Identifier: MIT
#include "vireo/genicam/node.h"

#include <utility>

namespace vireo::genicam {
namespace {

using vireo::common::DataType;
using vireo::common::ParameterValue;

struct TypedValue {
  DataType type;
  ParameterValue value;
};

TypedValue typedValue(const IntegerNode& node) {
  return {DataType::Int32, static_cast<int>(node.value)};
}
TypedValue typedValue(const FloatNode& node) {
  return {DataType::Float, static_cast<float>(node.value)};
}
TypedValue typedValue(const BooleanNode& node) {
  return {DataType::Bool, node.value};
}
TypedValue typedValue(const StringNode& node) {
  return {DataType::String, node.value};
}
TypedValue typedValue(const EnumerationNode& node) {
  return {DataType::String, node.value};
}
TypedValue typedValue(const NodeHeader&) {
  return {DataType::String, std::string()};
}

// Through std::visit, so that a node without an alternative is an error and never a code out of range.
const NodeHeader& header(const NodeVariant& node) {
  return std::visit([](const NodeHeader& held) -> const NodeHeader& { return held; }, node);
}

}  // namespace

NodeType getNodeType(const NodeVariant& node) {
  header(node);
  return static_cast<NodeType>(node.index());
}

AccessMode getAccessMode(const NodeVariant& node) {
  return header(node).accessMode;
}

std::string getDescription(const NodeVariant& node) {
  return header(node).description;
}

Parameter nodeToParameter(const NodeVariant& node) {
  TypedValue held = std::visit([](const auto& kind) { return typedValue(kind); }, node);
  Parameter parameter;
  parameter.name = header(node).name;
  parameter.type = held.type;
  parameter.value = std::move(held.value);
  return parameter;
}

}  // namespace vireo::genicam

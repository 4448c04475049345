// SPDX-License-Identifier: MIT
#include "parameter_report.h"

#include <utility>

#include "feature_access.h"
#include "vireo/genicam/pixel_format.h"

namespace vireo::genicam {

using vireo::common::BasicParams;
using vireo::common::DataType;
using vireo::common::ParameterMetadata;

namespace {

void addKind(ParameterMetadata& metadata, const IntegerNode& node) {
  metadata.min = static_cast<double>(node.min);
  metadata.max = static_cast<double>(node.max);
  metadata.increment = static_cast<double>(node.inc);
  metadata.unit = node.unit;
}
void addKind(ParameterMetadata& metadata, const FloatNode& node) {
  metadata.min = node.min;
  metadata.max = node.max;
  metadata.unit = node.unit;
}
void addKind(ParameterMetadata& metadata, const EnumerationNode& node) {
  metadata.entries = node.entries;
}
void addKind(ParameterMetadata&, const NodeHeader&) {}

}  // namespace

Parameter withExactType(const Parameter& parameter) {
  Parameter exact;
  exact.type = parameter.GetType();
  switch (exact.type) {
    case DataType::Int32:
      exact.value = parameter.GetValue<int>();
      break;
    case DataType::Float:
      exact.value = parameter.GetValue<float>();
      break;
    case DataType::Bool:
      exact.value = parameter.GetValue<bool>();
      break;
    case DataType::Array:
    case DataType::Invalid:
    case DataType::Char:
    case DataType::Byte:
    case DataType::Int16:
    case DataType::UInt16:
    case DataType::UInt32:
    case DataType::Int64:
    case DataType::UInt64:
    case DataType::Double:
    case DataType::Complex:
    case DataType::String:
    case DataType::ComplexFloat:
    case DataType::ComplexDouble:
    case DataType::Bitmask:
    case DataType::Unspecified:
      exact.type = DataType::String;
      exact.value = parameter.GetValue<std::string>();
  }
  return exact;
}

ParameterMetadata nodeMetadata(const std::string& name, const NodeVariant& node) {
  ParameterMetadata metadata;
  metadata.name = name;
  metadata.readable = getAccessMode(node) != AccessMode::WriteOnly;
  metadata.writable = getAccessMode(node) != AccessMode::ReadOnly;
  metadata.description = getDescription(node);
  std::visit([&](const auto& kind) { addKind(metadata, kind); }, node);
  return metadata;
}

BasicParams basicParams(const NodeMap& nodes, std::uint64_t payloadSize) {
  BasicParams params;
  const auto floating = [&](const char* feature, double& value, std::string& name) {
    if (const auto* node = findNodeAs<FloatNode>(nodes, feature)) value = node->value;
    if (nodes.contains(feature)) name = feature;
  };
  // The low 32 bits of values and bounds.
  const auto integer = [&](const char* feature, std::uint32_t& value, std::string& name,
                           std::uint32_t* max = nullptr) {
    if (const auto* node = findNodeAs<IntegerNode>(nodes, feature)) {
      value = static_cast<std::uint32_t>(node->value);
      if (max != nullptr) *max = static_cast<std::uint32_t>(node->max);
    }
    if (nodes.contains(feature)) name = feature;
  };
  floating("ExposureTime", params.exposureTime, params.exposureTimeParam);
  params.exposureTime /= 1000000.0;  // the feature is in microseconds
  floating("AcquisitionFrameRate", params.frameRate, params.frameRateParam);
  integer("Width", params.width, params.widthParam, &params.maxWidth);
  integer("Height", params.height, params.heightParam, &params.maxHeight);
  integer("OffsetX", params.offsetX, params.offsetXParam);
  integer("OffsetY", params.offsetY, params.offsetYParam);
  integer("BinningHorizontal", params.binningHorizontal, params.binningHorizontalParam);
  integer("BinningVertical", params.binningVertical, params.binningVerticalParam);

  const auto* format = findNodeAs<EnumerationNode>(nodes, "PixelFormat");
  params.pixelBytes = format != nullptr ? static_cast<std::uint8_t>(bytesPerPixel(format->value)) : 1;
  params.frameSize = params.maxWidth != 0 && params.maxHeight != 0
                         ? std::uint64_t{params.maxWidth} * params.maxHeight * params.pixelBytes
                         : payloadSize;
  return params;
}

}  // namespace vireo::genicam

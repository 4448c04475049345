// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "vireo/genicam/adapter.h"
#include "vireo/genicam/node.h"

// Features of a device by the kind of their node: the Aravis calls, the conversion of values, the caches.
// What is stored in a float node is stored atomically: a receiving thread reads the exposure time meanwhile.

namespace vireo::genicam {

/// The node of that name if it is of that kind; null otherwise.
template <typename Node>
Node* findNodeAs(NodeMap& nodes, const std::string& name) {
  const auto found = nodes.find(name);
  return found == nodes.end() ? nullptr : std::get_if<Node>(&found->second);
}
template <typename Node>
const Node* findNodeAs(const NodeMap& nodes, const std::string& name) {
  return findNodeAs<Node>(const_cast<NodeMap&>(nodes), name);
}

inline double loadFloat(FloatNode& node) {
  return std::atomic_ref<double>(node.value).load(std::memory_order_relaxed);
}
inline void storeFloat(FloatNode& node, double value) {
  std::atomic_ref<double>(node.value).store(value, std::memory_order_relaxed);
}

struct ExecuteCommand {};

/// What a feature is sent, in Aravis's own types. Enumerations are sent by the name of their entry.
using FeatureValue = std::variant<std::int64_t, double, bool, std::string, ExecuteCommand>;

/// Asks the device for a feature's value. Numbers and booleans go into the node at once, whatever the error;
/// a text is returned, if there is one. Commands and categories are not asked.
std::optional<std::string> readValue(ArvDevice* device, const std::string& name, NodeVariant& node,
                                     NodeType kind, GErrorGuard& error);

/// Stores a text that `readValue` returned in its node.
void storeText(NodeVariant& node, NodeType kind, std::string text);

/// Replaces the node's bounds by the device's, if it tells them. Only integer and float nodes have bounds.
void refreshBounds(ArvDevice* device, const std::string& name, NodeVariant& node, NodeType kind);

/// The parameter's value as a feature of this kind takes it. A value of a type that the kind has no use for
/// is recorded and becomes that kind's default. Throws for a number that an integer feature cannot take.
FeatureValue toFeatureValue(const Parameter& parameter, NodeType kind);

/// Sends a value to the device.
void sendValue(ArvDevice* device, const std::string& name, const FeatureValue& value, GErrorGuard& error);

/// Stores a value that was sent in its node.
void storeValue(NodeVariant& node, NodeType kind, const FeatureValue& value);

/// Such as "Read integer 'Width'".
std::string readContext(NodeType kind, const std::string& name);

/// Such as "Write integer 'Width'" or "Execute command 'AcquisitionStart'".
std::string writeContext(NodeType kind, const std::string& name);

}  // namespace vireo::genicam

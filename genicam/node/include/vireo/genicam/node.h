// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "brio/fnd/export.h"
#include "vireo/common/parameter.h"

namespace vireo::genicam {

using vireo::common::Parameter;

/// The code of a node kind is the index of its alternative in `NodeVariant`.
enum class NodeType : std::int32_t {
  Integer = 0,
  Float = 1,
  Boolean = 2,
  String = 3,
  Enumeration = 4,
  Command = 5,
  Category = 6,
};

enum class AccessMode : std::int32_t { ReadOnly = 0, WriteOnly = 1, ReadWrite = 2, NotAvailable = 3 };

enum class Visibility : std::int32_t { Beginner = 0, Expert = 1, Guru = 2, Invisible = 3 };

/// What every node tells of itself.
struct NodeHeader {
  std::string name;
  std::string displayName;
  std::string toolTip;
  std::string description;
  AccessMode accessMode = AccessMode::ReadWrite;
  Visibility visibility = Visibility::Beginner;
  std::string category;  ///< path of category names, such as Root/ImageFormatControl
};

// `value` is the last known value: what the description says until the camera is asked. Bounds start as
// described and are replaced by the camera's.

struct IntegerNode : NodeHeader {
  std::int64_t value = 0;
  std::int64_t min = INT64_MIN;
  std::int64_t max = INT64_MAX;
  std::int64_t inc = 1;
  std::string unit;
};

struct FloatNode : NodeHeader {
  double value = 0.0;
  double min = -std::numeric_limits<double>::max();
  double max = std::numeric_limits<double>::max();
  std::string unit;
  std::string representation;
};

struct BooleanNode : NodeHeader {
  bool value = false;
};

struct StringNode : NodeHeader {
  std::string value;
};

struct EnumerationNode : NodeHeader {
  std::string value;                        ///< symbolic name of the current entry
  std::vector<std::string> entries;         ///< entry names in the order of the description
  std::map<std::string, long> entryValues;  ///< entry name to the camera's integer
};

struct CommandNode : NodeHeader {};

struct CategoryNode : NodeHeader {
  std::vector<std::string> features;  ///< names of the members, as the description lists them
};

using NodeVariant =
    std::variant<IntegerNode, FloatNode, BooleanNode, StringNode, EnumerationNode, CommandNode, CategoryNode>;

/// Keyed by feature name, case-sensitive and in byte order.
using NodeMap = std::map<std::string, NodeVariant>;

// All throw std::bad_variant_access for a variant that lost its value. They only read: any thread may call
// them while no other writes the node.

BRIO_EXPORT NodeType getNodeType(const NodeVariant& node);
BRIO_EXPORT AccessMode getAccessMode(const NodeVariant& node);
BRIO_EXPORT std::string getDescription(const NodeVariant& node);

/// A parameter with the node's name and last known value: Int32 (the low 32 bits), Float (single precision),
/// Bool or String. Commands and categories carry no value: an empty text. No metadata.
BRIO_EXPORT Parameter nodeToParameter(const NodeVariant& node);

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>

#include "vireo/common/parameter.h"

namespace vireo::genicam {

using vireo::common::Parameter;

enum class NodeType : int { Integer, Float, Boolean, String, Enumeration, Command, Category };
enum class AccessMode : int { ReadOnly, WriteOnly, ReadWrite, NotAvailable };

struct NodeHeader {
  std::string name, texts[3];
  AccessMode access = AccessMode::ReadWrite;
  int rank = 0;
  std::string group;
};
struct IntegerNode : NodeHeader {
  std::int64_t value = 0, min = 0, max = 0, inc = 1;
  std::string unit;
};
struct FloatNode : NodeHeader {
  double value = 0, min = 0, max = 0;
  std::string unit, style;
};
struct BooleanNode : NodeHeader {
  bool value = false;
};
struct StringNode : NodeHeader {
  std::string value;
};
struct EnumerationNode : NodeHeader {
  std::string value;
  std::vector<std::string> entries;
  std::map<std::string, long> entryValues;
};
struct CommandNode : NodeHeader {};
struct CategoryNode : NodeHeader {
  std::vector<std::string> features;
};
using NodeVariant =
    std::variant<IntegerNode, FloatNode, BooleanNode, StringNode, EnumerationNode, CommandNode, CategoryNode>;
using NodeMap = std::map<std::string, NodeVariant>;

NodeType getNodeType(const NodeVariant&);
AccessMode getAccessMode(const NodeVariant&);
std::string getDescription(const NodeVariant&);
Parameter nodeToParameter(const NodeVariant&);

}  // namespace vireo::genicam

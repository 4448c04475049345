// SPDX-License-Identifier: MIT
#pragma once

#include "vireo/genicam/node.h"

namespace vireo::genicam {

struct XmlParser {
  static std::map<std::string, NodeVariant> parse(const std::string& xml);
};

}  // namespace vireo::genicam

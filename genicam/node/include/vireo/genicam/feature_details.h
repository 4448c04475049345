// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

#include "brio/fnd/export.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// What a description says of a feature beyond what its node holds.
struct FeatureDetails {
  /// Features whose values depend on this one's, as the description names them, in document order; a name may
  /// lead to nothing.
  std::vector<std::string> selected;
  /// How to show a number, such as IPV4Address, said here or by a node behind it; empty where nothing is
  /// said. It stands here for integers, too, whose nodes do not hold it.
  std::string representation;
};

/// The features of a description with their details: as many, under the same names.
struct DetailedFeatures {
  NodeMap nodes;
  std::map<std::string, FeatureDetails> details;
};

/// As `XmlParser::parse`, errors and threads too, for who needs the details: the text is read once.
BRIO_EXPORT DetailedFeatures parseWithDetails(const std::string& xml);

}  // namespace vireo::genicam

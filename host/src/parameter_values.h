// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "camera.h"
#include "parameter_rows.h"
#include "vireo/common/parameter.h"
#include "vireo/genicam/node.h"

namespace vireo::host {

using ParametersByName = std::map<std::string, common::Parameter>;

/// A fresh scan of the camera, by name.
ParametersByName ScanByName(Camera& camera);

/// The camera's own document as nodes; empty when there is none or it cannot be understood.
genicam::NodeMap DescribedNodes(Camera& camera);

/// `like` with the value that `text` says, typed as `like` is. Throws Failure naming the parameter, what is
/// wrong with the text and what would do.
common::Parameter ParseValue(const common::Parameter& like, const std::string& text);
/// The same from JSON, whether the value is a text or a number there.
common::Parameter ParseJson(const common::Parameter& like, const Json& value);
std::string ValueText(const Json& value);

/// A command of the camera, by its own document.
bool IsCommand(const genicam::NodeMap& nodes, const std::string& name);

/// Why the camera cannot take the value now, by the access and bounds of its last scan; none when it can.
std::optional<std::string> Objection(const common::Parameter& wanted, const ParametersByName& scanned);

/// Whether the camera's value is the one asked for, a float in single precision.
bool SameValue(const common::Parameter& one, const common::Parameter& other);

/// The failure for a name that is none of `known`, with the most similar one of them.
Failure UnknownName(const std::string& name, const std::vector<std::string>& known);

/// The keys of a map.
template <typename Map>
std::vector<std::string> NamesOf(const Map& map) {
  std::vector<std::string> names;
  for (const auto& entry : map) names.push_back(entry.first);
  return names;
}

}  // namespace vireo::host

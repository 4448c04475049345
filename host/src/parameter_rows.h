// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "text_table.h"
#include "vireo/common/parameter.h"
#include "vireo/genicam/node.h"

namespace vireo::host {

/// Keeps the members in the order in which they were added.
using Json = nlohmann::ordered_json;

/// One parameter as lists show it, from a camera or from a description. A bound or value that does not exist
/// is null.
struct ParameterRow {
  std::string name;
  std::string kind;    ///< Integer, Float, Boolean, String, Enumeration, Command or Category
  std::string access;  ///< RO, WO, RW or NA
  Json value;
  Json min;
  Json max;
  Json increment;
  std::vector<std::string> entries;  ///< a category's are the names of its features
  Json entryValues;                  ///< the camera's integer for each entry of an enumeration
  std::string unit;
  std::string description;
  std::string category;
};

enum class RowFormat { AsTable, AsJson, AsCsv };

/// `parameter` as a scan of the camera gives it; `nodes`, from the camera's own document, tell what the scan
/// does not: category, and that a feature is not available.
ParameterRow RowOf(const common::Parameter& parameter, const genicam::NodeMap& nodes);
/// From a description alone: a value of 0 or none is null, since only the camera may know it.
ParameterRow RowOf(const std::string& name, const genicam::NodeVariant& node);

/// The rows whose names match a pattern, which may hold * and ?, or contain it when it has neither; case does
/// not matter. All rows when there are no patterns. Throws Failure for a pattern that matches nothing.
std::vector<ParameterRow> Matching(const std::vector<ParameterRow>& rows,
                                   const std::vector<std::string>& patterns);

/// What `list` and `describe` print. A detailed table has categories and descriptions too; JSON and CSV
/// always.
std::string RenderRows(const std::vector<ParameterRow>& rows, RowFormat format, bool detailed);

/// A parameter's value for JSON: numbers with the digits that they have in text, so that 0.1 stays 0.1.
Json ValueToJson(const common::Parameter& parameter);

/// JSON text for people, with a line end. Bytes that are not UTF-8 are replaced.
std::string JsonText(const Json& json);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "parameters/values.h"
#include "terminal/json.h"

namespace vireo::host {

/// One parameter as lists show it, from a camera or from a description. A bound or value that does not exist
/// is null.
struct ParameterRow {
  std::string name;
  std::string kind;    ///< Integer, Float, Boolean, String, Enumeration, Command or Category
  std::string access;  ///< RO, WO, RW or NA
  Json value;
  Json lowBits;         ///< of an integer whose value is not known, its low 32 bits
  std::string lowText;  ///< and how they are shown
  Json min;
  Json max;
  Json increment;
  std::vector<std::string> entries;  ///< a category's are the names of its features
  Json entryValues;                  ///< the camera's integer for each entry of an enumeration
  std::string unit;
  std::string failure;  ///< why the camera did not give the value
  std::string description;
  std::string category;
  std::string visibility;            ///< Beginner, Expert, Guru or Invisible
  std::string representation;        ///< how to show a number, where the description says it
  std::vector<std::string> selects;  ///< parameters whose values depend on this one's
};

enum class RowFormat { AsTable, AsJson, AsCsv };

/// A parameter as the camera gave it; `features`, from the camera's own description, tell what a scan does
/// not: kind and category, and that a feature is not available. Without a node those stay empty.
ParameterRow RowOf(const Reading& reading, const genicam::DetailedFeatures& features);
/// From a description alone. A value of 0, false or "" is null: a node has that, too, where only the camera
/// knows the value.
ParameterRow RowOf(const std::string& name, const genicam::DetailedFeatures& features);

/// The rows whose names match a pattern, which may hold * and ?, or contain it when it has neither; case does
/// not matter. All rows when there are no patterns. A pattern that is a whole name matches no other where
/// `namesAlone`. Throws Failure for a pattern that matches nothing.
std::vector<ParameterRow> Matching(const std::vector<ParameterRow>& rows,
                                   const std::vector<std::string>& patterns, bool namesAlone);

/// All that is known of `row`, nothing cut; what selects it is among `rows`.
std::string SheetOf(const ParameterRow& row, const std::vector<ParameterRow>& rows);

/// What `list` and `describe` print. A detailed table has categories and descriptions too; JSON and CSV
/// always.
std::string RenderRows(const std::vector<ParameterRow>& rows, RowFormat format, bool detailed);

}  // namespace vireo::host

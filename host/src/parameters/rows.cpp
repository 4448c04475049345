// SPDX-License-Identifier: MIT
#include "parameters/rows.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "parameters/names.h"
#include "terminal/console.h"
#include "terminal/failure.h"
#include "terminal/table.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

const char* kindName(genicam::NodeType kind) {
  switch (kind) {
    case genicam::NodeType::Integer:
      return "Integer";
    case genicam::NodeType::Float:
      return "Float";
    case genicam::NodeType::Boolean:
      return "Boolean";
    case genicam::NodeType::String:
      return "String";
    case genicam::NodeType::Enumeration:
      return "Enumeration";
    case genicam::NodeType::Command:
      return "Command";
    case genicam::NodeType::Category:
      return "Category";
  }
  return "";
}

const char* accessName(genicam::AccessMode mode) {
  switch (mode) {
    case genicam::AccessMode::ReadOnly:
      return "RO";
    case genicam::AccessMode::WriteOnly:
      return "WO";
    case genicam::AccessMode::ReadWrite:
      return "RW";
    case genicam::AccessMode::NotAvailable:
      return "NA";
  }
  return "";
}

// The whole range of a type means that the camera states no bound.
Json integerBound(std::int64_t bound) {
  const bool none =
      bound == std::numeric_limits<std::int64_t>::min() || bound == std::numeric_limits<std::int64_t>::max();
  return none ? Json() : Json(bound);
}

Json floatBound(double bound) {
  return std::abs(bound) >= std::numeric_limits<double>::max() ? Json() : Json(bound);
}

Json scannedBound(const std::optional<double>& bound, bool integer) {
  if (!bound) return {};
  if (!integer) return floatBound(*bound);
  return std::abs(*bound) < 0x1p63 ? Json(static_cast<std::int64_t>(*bound)) : Json();
}

const char* scannedAccess(const common::ParameterMetadata& metadata, bool available) {
  if (!available) return accessName(genicam::AccessMode::NotAvailable);
  if (!metadata.writable) return accessName(genicam::AccessMode::ReadOnly);
  return accessName(metadata.readable ? genicam::AccessMode::ReadWrite : genicam::AccessMode::WriteOnly);
}

const char* visibilityName(genicam::Visibility visibility) {
  switch (visibility) {
    case genicam::Visibility::Beginner:
      return "Beginner";
    case genicam::Visibility::Expert:
      return "Expert";
    case genicam::Visibility::Guru:
      return "Guru";
    case genicam::Visibility::Invisible:
      return "Invisible";
  }
  return "";
}

const genicam::NodeHeader& headerOf(const genicam::NodeVariant& node) {
  return std::visit([](const genicam::NodeHeader& header) -> const genicam::NodeHeader& { return header; },
                    node);
}

Json entryValues(const genicam::EnumerationNode& node) {
  Json values = Json::object();
  auto& members = values.get_ref<Json::object_t&>();  // its operator[] would search all of them each time
  for (const std::string& entry : node.entries) members.emplace_back(entry, node.entryValues.at(entry));
  return values;
}

// A node holds its type's empty value where only the camera knows it.
template <typename T>
Json described(const T& value) {
  return value == T{} ? Json() : Json(value);
}

struct NodeFields {
  ParameterRow& row;

  void operator()(const genicam::IntegerNode& node) const {
    row.value = described(node.value);
    row.min = integerBound(node.min);
    row.max = integerBound(node.max);
    row.increment = node.inc;
    row.unit = node.unit;
  }
  void operator()(const genicam::FloatNode& node) const {
    row.value = described(node.value);
    row.min = floatBound(node.min);
    row.max = floatBound(node.max);
    row.unit = node.unit;
  }
  void operator()(const genicam::BooleanNode& node) const { row.value = described(node.value); }
  void operator()(const genicam::StringNode& node) const { row.value = described(node.value); }
  void operator()(const genicam::EnumerationNode& node) const {
    row.value = described(node.value);
    row.entries = node.entries;
  }
  void operator()(const genicam::CommandNode&) const {}
  void operator()(const genicam::CategoryNode& node) const { row.entries = node.features; }
};

std::string textOf(const Json& value) {
  if (value.is_null()) return "";
  return value.is_number_float() ? fmt::format("{}", value.get<double>()) : ValueText(value);
}

std::string valueText(const ParameterRow& row) {
  return row.lowBits.is_null() ? textOf(row.value) : row.lowText;
}

std::string rangeText(const ParameterRow& row) {
  if (!row.entries.empty()) return fmt::format("{}", fmt::join(row.entries, " "));
  if (row.min.is_null() && row.max.is_null()) return "";
  std::string text = fmt::format("{}..{}", textOf(row.min), textOf(row.max));
  if (row.increment.is_number() && row.increment != 1) text += fmt::format(" step {}", textOf(row.increment));
  return text;
}

Json rowJson(const ParameterRow& row) {
  Json json = {{"name", row.name}, {"kind", row.kind}, {"access", row.access}, {"value", row.value}};
  if (!row.lowBits.is_null()) json["low32Bits"] = row.lowBits;
  if (!row.failure.empty()) json["failure"] = row.failure;
  if (!row.min.is_null()) json["min"] = row.min;
  if (!row.max.is_null()) json["max"] = row.max;
  if (!row.increment.is_null()) json["increment"] = row.increment;
  if (!row.unit.empty()) json["unit"] = row.unit;
  if (!row.entries.empty()) json[row.kind == "Category" ? "features" : "entries"] = row.entries;
  if (!row.entryValues.is_null()) json["entryValues"] = row.entryValues;
  if (!row.visibility.empty()) json["visibility"] = row.visibility;
  if (!row.representation.empty()) json["representation"] = row.representation;
  if (!row.selects.empty()) json["selects"] = row.selects;
  json["category"] = row.category;
  json["description"] = row.description;
  return json;
}

std::string csvText(const std::vector<ParameterRow>& rows) {
  TextTable table({"name", "kind", "access", "value", "unit", "min", "max", "increment", "entries",
                   "category", "description"});
  for (const ParameterRow& row : rows) {
    table.AddRow({row.name, row.kind, row.access, valueText(row), row.unit, textOf(row.min), textOf(row.max),
                  textOf(row.increment), fmt::format("{}", fmt::join(row.entries, " ")), row.category,
                  row.description});
  }
  return table.Csv();
}

std::string tableText(const std::vector<ParameterRow>& rows, bool detailed) {
  std::vector<std::string> header = {"NAME", "KIND", "ACCESS", "VALUE", "UNIT", "RANGE"};
  if (detailed) header.insert(header.end(), {"CATEGORY", "DESCRIPTION"});
  TextTable table(std::move(header), {"KIND", "UNIT", "CATEGORY", "ACCESS", "RANGE", "DESCRIPTION"});
  for (const ParameterRow& row : rows) {
    std::vector<std::string> cells = {row.name,       row.kind, row.access,
                                      valueText(row), row.unit, rangeText(row)};
    if (detailed) cells.insert(cells.end(), {row.category, row.description});
    table.AddRow(std::move(cells));
  }
  return table.Text(OutputWidth());
}

void fillValue(ParameterRow& row, const common::Parameter& parameter, const IntegerForm& form) {
  if (IsWhole(parameter, form)) {
    row.value = ValueToJson(parameter, form);
  } else {
    row.lowBits = KnownInteger(std::get<int>(parameter.value), form);
    row.lowText = ShownText(parameter, form);
  }
}

// What lists show of a feature beyond its values, whoever has these.
void fillFromNode(ParameterRow& row, const genicam::NodeVariant& node,
                  const genicam::DetailedFeatures& features) {
  const genicam::NodeHeader& header = headerOf(node);
  const genicam::FeatureDetails& details = features.details.at(row.name);
  row.kind = kindName(getNodeType(node));
  row.category = header.category;
  row.visibility = visibilityName(header.visibility);
  row.representation = details.representation;
  row.selects = details.selected;
  if (const auto* const enumeration = std::get_if<genicam::EnumerationNode>(&node))
    row.entryValues = entryValues(*enumeration);
}

}  // namespace

ParameterRow RowOf(const Reading& reading, const genicam::DetailedFeatures& features) {
  ParameterRow row;
  const common::Parameter& parameter = reading.parameter;
  const common::ParameterMetadata& metadata = *parameter.metadata;
  const bool integer = std::holds_alternative<int>(parameter.value);
  const bool available = IsAvailable(features.nodes, parameter.name);
  row.name = parameter.name;
  row.access = scannedAccess(metadata, available);
  if (available && reading.failure.empty()) fillValue(row, parameter, FormOf(features, parameter));
  row.failure = reading.failure;
  row.min = scannedBound(metadata.min, integer);
  row.max = scannedBound(metadata.max, integer);
  row.increment = scannedBound(metadata.increment, integer);
  row.entries = metadata.entries;
  row.unit = metadata.unit;
  row.description = metadata.description;
  const auto node = features.nodes.find(parameter.name);
  if (node != features.nodes.end()) fillFromNode(row, node->second, features);
  return row;
}

ParameterRow RowOf(const std::string& name, const genicam::DetailedFeatures& features) {
  const genicam::NodeVariant& node = features.nodes.at(name);
  ParameterRow row;
  row.name = name;
  row.access = accessName(getAccessMode(node));
  std::visit(NodeFields{row}, node);
  row.description = getDescription(node);
  fillFromNode(row, node, features);
  return row;
}

std::vector<ParameterRow> Matching(const std::vector<ParameterRow>& rows,
                                   const std::vector<std::string>& patterns, bool namesAlone) {
  if (patterns.empty()) return rows;
  std::vector<bool> wanted(rows.size(), false);
  for (const std::string& pattern : patterns) {
    bool any = false;
    const auto isWhole = [&](const ParameterRow& row) { return Lowered(row.name) == Lowered(pattern); };
    const bool alone = namesAlone && std::any_of(rows.begin(), rows.end(), isWhole);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (alone ? !isWhole(rows[i]) : !MatchesPattern(rows[i].name, pattern)) continue;
      wanted[i] = any = true;
    }
    if (!any) {
      throw Failure(
          ExitStatus::Failed,
          fmt::format("no parameter matches '{}': the command without a name shows them all", pattern));
    }
  }
  std::vector<ParameterRow> matching;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (wanted[i]) matching.push_back(rows[i]);
  }
  return matching;
}

std::string SheetOf(const ParameterRow& row, const std::vector<ParameterRow>& rows) {
  std::vector<std::string> selectors;
  for (const ParameterRow& other : rows)
    if (std::count(other.selects.begin(), other.selects.end(), row.name) != 0)
      selectors.push_back(other.name);
  std::string text;
  const auto add = [&](const char* title, const std::string& value) {
    if (!value.empty()) text += fmt::format("{:<16}{}\n", title, WithoutControls(value));
  };
  add("Name", row.name);
  add("Kind", row.kind);
  add("Access", row.access);
  add("Value", valueText(row));
  add("No value", row.failure);
  add("Unit", row.unit);
  add("Range", rangeText(row));
  add("Representation", row.representation);
  add("Visibility", row.visibility);
  add("Category", row.category);
  add("Selected by", fmt::format("{}", fmt::join(selectors, " ")));
  add("Selects", fmt::format("{}", fmt::join(row.selects, " ")));
  add("Description", row.description);
  return text;
}

std::string RenderRows(const std::vector<ParameterRow>& rows, RowFormat format, bool detailed) {
  if (format == RowFormat::AsCsv) return csvText(rows);
  if (format == RowFormat::AsTable) return tableText(rows, detailed);
  Json list = Json::array();
  for (const ParameterRow& row : rows) list.push_back(rowJson(row));
  return JsonText(list);
}

}  // namespace vireo::host

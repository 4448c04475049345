// SPDX-License-Identifier: MIT
#include "parameter_rows.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "console.h"
#include "exit_status.h"

namespace vireo::host {
namespace {

constexpr std::array kindNames = {"Integer",     "Float",   "Boolean", "String",
                                  "Enumeration", "Command", "Category"};
constexpr std::array accessNames = {"RO", "WO", "RW", "NA"};

// A type's whole range is no bound of the camera's.
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

std::string scannedKind(const common::Parameter& parameter) {
  if (std::holds_alternative<int>(parameter.value)) return "Integer";
  if (std::holds_alternative<bool>(parameter.value)) return "Boolean";
  if (!std::holds_alternative<std::string>(parameter.value)) return "Float";
  return parameter.metadata->entries.empty() ? "String" : "Enumeration";
}

Json entryValues(const genicam::EnumerationNode& node) {
  Json values = Json::object();
  auto& members = values.get_ref<Json::object_t&>();  // each name comes once: looking for it would take n*n
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
    row.entryValues = entryValues(node);
  }
  void operator()(const genicam::CommandNode&) const {}
  void operator()(const genicam::CategoryNode& node) const { row.entries = node.features; }
};

std::string textOf(const Json& value) {
  if (value.is_null()) return "";
  if (value.is_string()) return value.get<std::string>();
  return value.is_number_float() ? fmt::format("{}", value.get<double>()) : value.dump();
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
  if (!row.min.is_null()) json["min"] = row.min;
  if (!row.max.is_null()) json["max"] = row.max;
  if (!row.increment.is_null()) json["increment"] = row.increment;
  if (!row.unit.empty()) json["unit"] = row.unit;
  if (!row.entries.empty()) json[row.kind == "Category" ? "features" : "entries"] = row.entries;
  if (!row.entryValues.is_null()) json["entryValues"] = row.entryValues;
  json["category"] = row.category;
  json["description"] = row.description;
  return json;
}

std::string csvText(const std::vector<ParameterRow>& rows) {
  TextTable table({"name", "kind", "access", "value", "unit", "min", "max", "increment", "entries",
                   "category", "description"});
  for (const ParameterRow& row : rows) {
    table.AddRow({row.name, row.kind, row.access, textOf(row.value), row.unit, textOf(row.min),
                  textOf(row.max), textOf(row.increment), fmt::format("{}", fmt::join(row.entries, " ")),
                  row.category, row.description});
  }
  return table.Csv();
}

std::string tableText(const std::vector<ParameterRow>& rows, bool detailed) {
  std::vector<std::string> header = {"NAME", "KIND", "ACCESS", "VALUE", "UNIT", "RANGE"};
  if (detailed) header.insert(header.end(), {"CATEGORY", "DESCRIPTION"});
  TextTable table(std::move(header), {"KIND", "UNIT", "CATEGORY", "ACCESS", "RANGE", "DESCRIPTION"});
  for (const ParameterRow& row : rows) {
    std::vector<std::string> cells = {row.name,          row.kind, row.access,
                                      textOf(row.value), row.unit, rangeText(row)};
    if (detailed) cells.insert(cells.end(), {row.category, row.description});
    table.AddRow(std::move(cells));
  }
  return table.Text(OutputWidth());
}

bool matches(const std::string& name, const std::string& pattern) {
  std::string glob;
  for (const char c : pattern) {
    if (c == '[' || c == '\\') glob += '\\';  // means itself, here
    glob += c;
  }
  if (pattern.find_first_of("*?") == std::string::npos) glob = "*" + glob + "*";
  return fnmatch(glob.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

}  // namespace

ParameterRow RowOf(const common::Parameter& parameter, const genicam::NodeMap& nodes) {
  ParameterRow row;
  const common::ParameterMetadata& metadata = *parameter.metadata;
  row.name = parameter.name;
  row.kind = scannedKind(parameter);
  row.access = metadata.writable ? (metadata.readable ? "RW" : "WO") : "RO";
  row.value = ValueToJson(parameter);
  row.min = scannedBound(metadata.min, row.kind == "Integer");
  row.max = scannedBound(metadata.max, row.kind == "Integer");
  row.increment = scannedBound(metadata.increment, row.kind == "Integer");
  row.entries = metadata.entries;
  row.unit = metadata.unit;
  row.description = metadata.description;
  if (const auto node = nodes.find(parameter.name); node != nodes.end()) {
    row.category =
        std::visit([](const genicam::NodeHeader& header) { return header.category; }, node->second);
    if (getAccessMode(node->second) == genicam::AccessMode::NotAvailable) {
      row.access = "NA";
      row.value = {};
    }
    if (const auto* const enumeration = std::get_if<genicam::EnumerationNode>(&node->second))
      row.entryValues = entryValues(*enumeration);
  }
  return row;
}

ParameterRow RowOf(const std::string& name, const genicam::NodeVariant& node) {
  ParameterRow row;
  row.name = name;
  row.kind = kindNames[static_cast<std::size_t>(getNodeType(node))];
  row.access = accessNames[static_cast<std::size_t>(getAccessMode(node))];
  std::visit(NodeFields{row}, node);
  row.description = getDescription(node);
  row.category = std::visit([](const genicam::NodeHeader& header) { return header.category; }, node);
  return row;
}

std::vector<ParameterRow> Matching(const std::vector<ParameterRow>& rows,
                                   const std::vector<std::string>& patterns) {
  if (patterns.empty()) return rows;
  std::vector<bool> wanted(rows.size(), false);
  for (const std::string& pattern : patterns) {
    bool any = false;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (!matches(rows[i].name, pattern)) continue;
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

std::string RenderRows(const std::vector<ParameterRow>& rows, RowFormat format, bool detailed) {
  if (format == RowFormat::AsCsv) return csvText(rows);
  if (format == RowFormat::AsTable) return tableText(rows, detailed);
  Json list = Json::array();
  for (const ParameterRow& row : rows) list.push_back(rowJson(row));
  return JsonText(list);
}

Json ValueToJson(const common::Parameter& parameter) {
  if (const int* const number = std::get_if<int>(&parameter.value)) return *number;
  if (const bool* const flag = std::get_if<bool>(&parameter.value)) return *flag;
  const std::string text = parameter.GetValueAsString();
  if (std::holds_alternative<std::string>(parameter.value)) return text;
  double number = std::numeric_limits<double>::quiet_NaN();
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::string JsonText(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace vireo::host

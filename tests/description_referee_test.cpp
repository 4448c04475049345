// SPDX-License-Identifier: MIT
// Our catalogue of every real description against the tree that Aravis builds of the same text.
#include <arv.h>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <map>

#include "support/read_text.h"
#include "vireo/genicam/xml_parser.h"

namespace {

using namespace vireo::genicam;
namespace fs = std::filesystem;

constexpr const char* kindsByName[] = {"Integer",     "Float",   "Boolean", "String",
                                       "Enumeration", "Command", "Category"};
constexpr const char* accessNames[] = {"RO", "WO", "RW", "NA"};

struct Facts {
  std::string kind;
  std::string access;
  std::string entries;
};

Facts ours(const NodeVariant& node) {
  Facts facts = {kindsByName[node.index()], accessNames[static_cast<int>(getAccessMode(node))], {}};
  if (const auto* const enumeration = std::get_if<EnumerationNode>(&node)) {
    for (const std::string& entry : enumeration->entries)
      facts.entries += fmt::format("{}={} ", entry, enumeration->entryValues.at(entry));
  }
  return facts;
}

std::string elementOf(ArvGcNode* node) {
  return arv_dom_node_get_node_name(ARV_DOM_NODE(node));
}

ArvGcPropertyNode* property(ArvGcNode* node, const std::string& name) {
  ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node));
  while (child != nullptr && name != arv_dom_node_get_node_name(child))
    child = arv_dom_node_get_next_sibling(child);
  return ARV_IS_GC_PROPERTY_NODE(child) ? ARV_GC_PROPERTY_NODE(child) : nullptr;
}

std::string text(ArvGcNode* node, const char* name) {
  ArvGcPropertyNode* const found = property(node, name);
  return found == nullptr ? std::string() : arv_gc_property_node_get_string(found, nullptr);
}

ArvGcNode* target(ArvGcNode* node, const char* name) {
  ArvGcPropertyNode* const found = property(node, name);
  return found == nullptr ? nullptr : arv_gc_property_node_get_linked_node(found);
}

// The referee's answer to a condition; `otherwise` when it needs a camera for it.
bool holds(ArvGcNode* node, gboolean (*ask)(ArvGcFeatureNode*, GError**), bool otherwise) {
  GError* error = nullptr;
  const bool answer = ask(ARV_GC_FEATURE_NODE(node), &error) != FALSE;
  if (error == nullptr) return answer;
  g_error_free(error);
  return otherwise;
}

bool offered(ArvGcNode* node) {
  return holds(node, arv_gc_feature_node_is_implemented, true) &&
         holds(node, arv_gc_feature_node_is_available, true);
}

// The mode without conditions.
std::string modeOf(ArvGcNode* node) {
  return accessNames[arv_gc_feature_node_get_actual_access_mode(ARV_GC_FEATURE_NODE(node))];
}

std::int64_t asDecimal(ArvGcNode* entry) {
  const std::string digits = text(entry, "Value");
  const bool isOctal = digits.starts_with('0') && digits.find_first_of("xX") == std::string::npos;
  return isOctal ? std::stoll(digits, nullptr, 10)
                 : arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(entry), nullptr);
}

// The entries of an enumeration that `take` takes, with the values that `value` gives them.
std::string entriesOf(ArvGcNode* node, const std::function<std::int64_t(ArvGcNode*)>& value,
                      const std::function<bool(ArvGcNode*)>& take) {
  std::string entries;
  for (const GSList* at = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node)); at; at = at->next) {
    auto* const entry = ARV_GC_NODE(at->data);
    if (!take(entry)) continue;
    const char* const name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry));
    entries = fmt::format("{}={} ", name, value(entry)) + entries;  // the list is in reverse
  }
  return entries;
}

std::string entriesOf(ArvGcNode* node) {
  const auto value = [](ArvGcNode* entry) {
    return arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(entry), nullptr);
  };
  return entriesOf(node, value, [](ArvGcNode*) { return true; });
}

Facts theirs(ArvGcNode* node) {
  Facts facts = {"none", modeOf(node), {}};
  if (holds(node, arv_gc_feature_node_is_locked, false)) facts.access = "RO";
  if (!offered(node)) facts.access = "NA";
  // An enumeration and a Boolean are integers to Aravis too.
  if (ARV_IS_GC_INTEGER(node)) facts.kind = "Integer";
  if (ARV_IS_GC_FLOAT(node)) facts.kind = "Float";
  if (ARV_IS_GC_STRING(node)) facts.kind = "String";
  for (const char* const kind : {"Boolean", "Enumeration", "Command", "Category"})
    if (elementOf(node) == kind) facts.kind = kind;
  if (ARV_IS_GC_ENUMERATION(node)) facts.entries = entriesOf(node);
  return facts;
}

std::map<std::string, ArvGcNode*> features(ArvGc* tree) {
  std::map<std::string, ArvGcNode*> found;
  std::vector<std::string> open = {"Root"};
  while (!open.empty()) {
    const std::string name = open.back();
    open.pop_back();
    ArvGcNode* const node = arv_gc_get_node(tree, name.c_str());
    if (!ARV_IS_GC_FEATURE_NODE(node) || !found.emplace(name, node).second || !ARV_IS_GC_CATEGORY(node))
      continue;
    const GSList* at = arv_gc_category_get_features(ARV_GC_CATEGORY(node));
    for (; at != nullptr; at = at->next) open.emplace_back(static_cast<const char*>(at->data));
  }
  return found;
}

bool any(ArvGcNode* node, const std::function<bool(ArvGcNode*)>& test) {
  for (int hops = 0; node != nullptr && hops < 100; ++hops, node = target(node, "pValue")) {
    if (test(node)) return true;
  }
  return false;
}

// What the text alone cannot answer: a formula, an indexed value, a register.
bool needsCamera(ArvGcNode* node, const char* condition) {
  return any(target(node, condition), [](ArvGcNode* link) {
    const std::string element = elementOf(link);
    return element.ends_with("SwissKnife") || element.ends_with("Converter") || element.ends_with("Reg") ||
           element == "StructEntry" || property(link, "pIndex") != nullptr;
  });
}

// Why our fact may differ from Aravis's; null when nothing explains it.
const char* reasonFor(std::string Facts::*aspect, ArvGcNode* node, const Facts& our, const Facts& their) {
  const std::string element = elementOf(node);
  const auto narrows = [&](ArvGcNode* link) {
    return text(link, "ImposedAccessMode") == our.access || text(link, "AccessMode") == our.access;
  };
  const auto hidden = [](ArvGcNode* link) { return !offered(link); };
  if (aspect == &Facts::entries && our.entries == entriesOf(node, asDecimal, [](ArvGcNode*) { return true; }))
    return "Aravis reads an entry's 018 as octal";
  const auto isOurs = [&](ArvGcNode* entry) {
    const char* const name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry));
    return (' ' + our.entries).find(fmt::format(" {}=", name)) != std::string::npos || offered(entry);
  };
  if (aspect == &Facts::entries && our.entries == entriesOf(node, asDecimal, isOurs))
    return "Aravis lists entries that a constant says can never be";
  if (aspect != &Facts::access) return nullptr;
  if (element == "Category" && our.access == "RW" && their.access == "RO")
    return "a category is not locked: writing one is refused for its kind";
  if (element == "Command" && our.access == "WO" && property(node, "pValue") == nullptr)
    return "Aravis finds nothing to read behind a command and makes it read-only";
  if (their.access == "RW" && any(node, narrows))
    return "Aravis leaves out what the nodes behind pValue allow";
  if (our.access == "NA" && any(target(node, "pValue"), hidden))
    return "Aravis leaves out the conditions of the nodes behind pValue";
  const bool conditional = needsCamera(node, "pIsImplemented") || needsCamera(node, "pIsAvailable");
  const bool locked = their.access == "RO" && needsCamera(node, "pIsLocked");
  if (our.access == modeOf(node) && (locked || (their.access == "NA" && conditional)))
    return "only a camera can answer the condition; without one Aravis takes its registers for zero";
  return nullptr;
}

using Totals = std::map<std::string, int>;

// Of the collection that this parser was written with: a change that a reason explains away is a change
// still.
const Totals knownFormats = {
    {"Aravis finds nothing to read behind a command and makes it read-only", 6},
    {"Aravis leaves out the conditions of the nodes behind pValue", 1},
    {"Aravis leaves out what the nodes behind pValue allow", 46},
    {"Aravis lists entries that a constant says can never be", 11},
    {"Aravis reads an entry's 018 as octal", 1},
    {"a Register holds bytes without a type: no parameter", 14},
    {"a category is not locked: writing one is refused for its kind", 428},
    {"access equal", 3834},
    {"entries equal", 1236},
    {"features", 4349},
    {"files", 20},
    {"kinds equal", 4335},
    {"only a camera can answer the condition; without one Aravis takes its registers for zero", 20},
};

void judge(const std::string& where, ArvGcNode* node, const Facts& our, const Facts& their, Totals& totals) {
  constexpr std::pair<const char*, std::string Facts::*> aspects[] = {
      {"kinds equal", &Facts::kind}, {"access equal", &Facts::access}, {"entries equal", &Facts::entries}};
  for (const auto& [equal, aspect] : aspects) {
    if (aspect == &Facts::entries && !ARV_IS_GC_ENUMERATION(node)) continue;
    const char* const reason = our.*aspect == their.*aspect ? equal : reasonFor(aspect, node, our, their);
    EXPECT_NE(reason, nullptr) << where << ": ours " << our.*aspect << ", Aravis " << their.*aspect;
    if (reason != nullptr) ++totals[reason];
  }
}

void compare(const std::string& file, const std::string& xml, Totals& totals) {
  NodeMap nodes = XmlParser::parse(xml);
  const std::size_t start = std::min(xml.find("<?xml"), xml.find("<RegisterDescription"));
  ArvGc* const tree = arv_gc_new(nullptr, xml.data() + start, xml.size() - start);  // it reads nothing before
  ASSERT_NE(tree, nullptr) << file;
  for (const auto& [name, node] : features(tree)) {
    const std::string where = fmt::format("{}: {} {}", file, elementOf(node), name);
    ++totals["features"];
    const auto found = nodes.find(name);
    if (found == nodes.end()) {
      EXPECT_EQ(elementOf(node), "Register") << where << ": only Aravis's";
      ++totals["a Register holds bytes without a type: no parameter"];
      continue;
    }
    judge(where, node, ours(found->second), theirs(node), totals);
    nodes.erase(found);
  }
  for (const auto& [name, node] : nodes) ADD_FAILURE() << file << ": only ours: " << name;
  ++totals["files"];
  g_object_unref(tree);
}

TEST(DescriptionReferee, AgreesOnEveryRealDescription) {
  const std::string folder = VIREO_CAMERA_DESCRIPTIONS;
  if (folder.empty()) GTEST_SKIP() << "VIREO_CAMERA_DESCRIPTIONS is not set";
  ASSERT_TRUE(fs::is_directory(folder)) << "VIREO_CAMERA_DESCRIPTIONS is not a folder: " << folder;
  Totals totals;
  for (const fs::path& file : filesIn(folder, ".xml")) compare(file.filename(), readText(file), totals);
  EXPECT_GT(totals["features"], 0) << "no description in " << folder;
  for (const auto& [what, count] : totals) std::cout << fmt::format("{:6} {}\n", count, what);
  if (totals["features"] == knownFormats.at("features")) {
    EXPECT_EQ(totals, knownFormats);
  }
}

}  // namespace

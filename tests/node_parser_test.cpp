// SPDX-License-Identifier: MIT
// Descriptions of one quirk each in data/NAME.xml, and what is read from them in data/NAME.txt.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/recording_logger.h"
#include "vireo/genicam/xml_parser.h"

namespace {

using namespace vireo::genicam;
namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
  std::stringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

constexpr const char* kAccess[] = {"RO", "WO", "RW", "NA"};
constexpr const char* kVisibility[] = {"", " Expert", " Guru", " Invisible"};

std::string details(const IntegerNode& node) {
  return fmt::format("Integer {} of {}..{} by {} '{}'", node.value, node.min, node.max, node.inc, node.unit);
}
std::string details(const FloatNode& node) {
  return fmt::format("Float {} of {:.8g}..{:.8g} '{}' {}", node.value, node.min, node.max, node.unit,
                     node.representation);
}
std::string details(const BooleanNode& node) {
  return fmt::format("Boolean {}", node.value);
}
std::string details(const StringNode& node) {
  return fmt::format("String '{}'", node.value);
}
std::string details(const EnumerationNode& node) {
  std::string text = fmt::format("Enumeration '{}' of", node.value);
  for (const std::string& entry : node.entries)
    text += fmt::format(" {}={}", entry, node.entryValues.at(entry));
  return text;
}
std::string details(const CommandNode&) {
  return "Command";
}
std::string details(const CategoryNode& node) {
  return fmt::format("Category {}", node.features);
}

std::string render(const NodeVariant& node) {
  const auto line = [](const auto& kind) {
    const NodeHeader& header = kind;
    return fmt::format("{}/{} {}{}: {} | {} | {} | {}\n", header.category, header.name,
                       kAccess[static_cast<int>(header.accessMode)],
                       kVisibility[static_cast<int>(header.visibility)], details(kind), header.displayName,
                       header.toolTip, header.description);
  };
  return std::visit(line, node);
}

std::vector<std::string> descriptionNames() {
  std::vector<std::string> names;
  for (const auto& file : fs::directory_iterator(VIREO_TEST_DATA)) {
    if (file.path().extension() == ".txt") names.push_back(file.path().stem());
  }
  return names;
}

class Description : public testing::TestWithParam<std::string> {};

TEST_P(Description, IsReadAsItsListingSays) {
  const fs::path path = fs::path(VIREO_TEST_DATA) / GetParam();
  const RecordingLogger logger;
  std::string listing;
  for (const auto& [name, node] : XmlParser::parse(contents(fs::path(path) += ".xml")))
    listing += render(node);
  for (const RecordingLogger::Entry& entry : logger.entries()) listing += entry.message() + '\n';
  EXPECT_EQ(listing, contents(fs::path(path) += ".txt"));
}

INSTANTIATE_TEST_SUITE_P(Data, Description, testing::ValuesIn(descriptionNames()),
                         [](const auto& row) { return row.param; });

TEST(XmlParser, SaysWhereAndWhyATextIsNoDescription) {
  const std::string open = "<RegisterDescription>";
  const std::pair<std::string, const char*> rows[] = {
      {"", "empty"},
      {std::string("\0 \n", 3), "empty"},
      {"plain text", "not XML: no markup in 10 bytes"},
      {"PK\x03\x04", "not XML but a ZIP archive: unpack it first"},
      {"<a/>", "the root element at line 1 (byte 1) is 'a', expected 'RegisterDescription'"},
      {"Maker\n<?xml version='1.0'?>\n<html></html>",
       "the root element at line 3 (byte 29) is 'html', expected 'RegisterDescription'"},
      {open + "\n<Integer", "not well-formed XML at line 2 (byte 29): Error parsing start element tag"},
      {open + "\n<Integer>\n</Float>", "not well-formed XML at line 3 (byte 34): Start-end tags mismatch"},
      {open, "not well-formed XML at line 1 (byte 20): Start-end tags mismatch"},
      {open + std::string("<Int\0eger/>", 11), "NUL byte at line 1 (byte 25)"},
  };
  for (const auto& [text, reason] : rows) {
    try {
      XmlParser::parse(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const std::runtime_error& error) {
      EXPECT_EQ(error.what(), std::string("camera description: ") + reason) << text;
    }
  }
}

}  // namespace

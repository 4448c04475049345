// SPDX-License-Identifier: MIT
// Descriptions of one quirk each in data/NAME.xml, and what is read from them in data/NAME.txt.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include "support/read_text.h"
#include "support/recording_logger.h"
#include "vireo/genicam/xml_parser.h"

namespace {

using namespace vireo::genicam;
namespace fs = std::filesystem;

constexpr const char* kAccess[] = {"RO", "WO", "RW", "NA"};
constexpr const char* kVisibility[] = {"", " Expert", " Guru", " Invisible"};

/// What a feature has of its own, by its kind.
struct Details {
  std::string operator()(const IntegerNode& n) const {
    return fmt::format("Integer {} of {}..{} by {} '{}'", n.value, n.min, n.max, n.inc, n.unit);
  }
  std::string operator()(const FloatNode& n) const {
    return fmt::format("Float {} of {:.8g}..{:.8g} '{}' {}", n.value, n.min, n.max, n.unit, n.representation);
  }
  std::string operator()(const EnumerationNode& n) const {
    std::string text = fmt::format("Enumeration '{}' of", n.value);
    for (const std::string& entry : n.entries) text += fmt::format(" {}={}", entry, n.entryValues.at(entry));
    return text;
  }
  std::string operator()(const BooleanNode& n) const { return fmt::format("Boolean {}", n.value); }
  std::string operator()(const StringNode& n) const { return fmt::format("String '{}'", n.value); }
  std::string operator()(const CommandNode&) const { return "Command"; }
  std::string operator()(const CategoryNode& n) const { return fmt::format("Category {}", n.features); }
};

std::string render(const NodeVariant& node) {
  const auto line = [](const auto& kind) {
    const NodeHeader& header = kind;
    return fmt::format("{}/{} {}{}: {} | {} | {} | {}\n", header.category, header.name,
                       kAccess[static_cast<int>(header.accessMode)],
                       kVisibility[static_cast<int>(header.visibility)], Details()(kind), header.displayName,
                       header.toolTip, header.description);
  };
  return std::visit(line, node);
}

struct Description : testing::TestWithParam<fs::path> {};

TEST_P(Description, IsReadAsItsListingSays) {
  const RecordingLogger logger;
  std::string listing;
  for (const auto& [name, node] : XmlParser::parse(readText(GetParam()))) listing += render(node);
  for (const RecordingLogger::Entry& entry : logger.entries()) listing += entry.message() + '\n';
  EXPECT_EQ(listing, readText(fs::path(GetParam()).replace_extension(".txt")));
}

INSTANTIATE_TEST_SUITE_P(Data, Description, testing::ValuesIn(filesIn(VIREO_TEST_DATA, ".xml")),
                         [](const auto& row) { return row.param.stem().string(); });

TEST(XmlParser, SaysWhereAndWhyATextIsNoDescription) {
  const std::string open = "<RegisterDescription>";
  const std::pair<std::string, const char*> rows[] = {
      {"", "empty"},
      {std::string("\0 \n", 3), "empty"},
      {"plain text", "not XML: no markup in 10 bytes"},
      {"PK\x03\x04 <x", "not XML but a ZIP archive: unpack it first"},
      {"\x1F\x8B\b <x", "not XML but a gzip file: unpack it first"},
      {"<a/>", "the root element at line 1 (byte 1) is 'a', expected 'RegisterDescription'"},
      {"Maker\n<?xml version='1.0'?>\n<html></html>",
       "the root element at line 3 (byte 29) is 'html', expected 'RegisterDescription'"},
      {open + "\n<Integer", "not well-formed XML at line 2 (byte 29): Error parsing start element tag"},
      {open + "\n<Integer>\n</Float>", "not well-formed XML at line 3 (byte 34): Start-end tags mismatch"},
      {open, "not well-formed XML at line 1 (byte 20): Start-end tags mismatch"},
      {std::string("\0", 1) + open + std::string("<Int\0eger/>", 11), "NUL byte at line 1 (byte 26)"},
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

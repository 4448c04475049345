// SPDX-License-Identifier: MIT
// Descriptions of one quirk each, data/NAME.xml. Beside each node a comment says what it must become, and
// why:
//   <!-- = Gain RW: Integer 3 of 0..255 by 2 'dB' ; the register behind it has one byte -->
// A record is told in the same way: what begins with "= " is expected, and nothing else.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <pugixml.hpp>
#include <random>
#include <regex>
#include <sstream>

#include "support/read_text.h"
#include "support/recording_logger.h"
#include "vireo/genicam/feature_details.h"
#include "vireo/genicam/xml_parser.h"

namespace {

using namespace vireo::genicam;
namespace fs = std::filesystem;

constexpr const char* accessNames[] = {"RO", "WO", "RW", "NA"};
constexpr const char* visibilityNames[] = {"", " Expert", " Guru", " Invisible"};

// What a feature has of its own, by its kind; a range only where it is not the type's.
struct Details {
  std::string operator()(const IntegerNode& n) const {
    std::string text = fmt::format("Integer {}", n.value);
    if (n.min != INT64_MIN || n.max != INT64_MAX) text += fmt::format(" of {}..{}", n.min, n.max);
    if (n.inc != 1) text += fmt::format(" by {}", n.inc);
    return n.unit.empty() ? text : text + fmt::format(" '{}'", n.unit);
  }
  std::string operator()(const FloatNode& n) const {
    std::string text = fmt::format("Float {}", n.value);
    const double most = std::numeric_limits<double>::max();
    if (n.min != -most || n.max != most) text += fmt::format(" of {:.8g}..{:.8g}", n.min, n.max);
    if (!n.unit.empty()) text += fmt::format(" '{}'", n.unit);
    return n.representation.empty() ? text : text + ' ' + n.representation;
  }
  std::string operator()(const EnumerationNode& n) const {
    std::string text = fmt::format("Enumeration '{}' of", n.value);
    for (const std::string& entry : n.entries) text += fmt::format(" {}={}", entry, n.entryValues.at(entry));
    return text;
  }
  std::string operator()(const BooleanNode& n) const { return fmt::format("Boolean {}", n.value); }
  std::string operator()(const StringNode& n) const { return fmt::format("String '{}'", n.value); }
  std::string operator()(const CommandNode&) const { return "Command"; }
  std::string operator()(const CategoryNode& n) const {
    if (n.name == "Root") return fmt::format("Category of {} features", n.features.size());
    return fmt::format("Category of {}", fmt::join(n.features, " "));
  }
};

std::string render(const NodeVariant& node) {
  const auto line = [](const auto& kind) {
    const NodeHeader& header = kind;
    const bool isPlain = header.category == "Root" || header.name == "Root";
    std::string text = isPlain ? header.name : header.category + '/' + header.name;
    text += fmt::format(" {}{}: {}", accessNames[static_cast<int>(header.accessMode)],
                        visibilityNames[static_cast<int>(header.visibility)], Details()(kind));
    if (!header.displayName.empty() || !header.description.empty())
      text += fmt::format(" | {} | {} | {}", header.displayName, header.toolTip, header.description);
    return text;
  };
  return std::visit(line, node);
}

// A description may be in any encoding, what it is expected to become is in ASCII.
std::string ascii(const std::string& text) {
  std::string shown;
  for (const char c : text) {
    const bool isShown = c >= 0x20 && c < 0x7F;
    shown += isShown ? std::string(1, c) : fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
  }
  return shown;
}

std::vector<std::string> expectedIn(std::string text) {
  std::erase(text, '\0');  // every other byte of UTF-16
  static const std::regex expectation("<!-- = (.*?)( ; .*?)? -->");
  std::vector<std::string> lines;
  for (std::sregex_iterator at(text.begin(), text.end(), expectation); at != std::sregex_iterator(); ++at)
    lines.push_back((*at)[1]);
  return lines;
}

// The nodes, and the records that tell what was left out.
std::vector<std::string> readFrom(const std::string& text) {
  const RecordingLogger logger;
  std::vector<std::string> lines;
  for (const auto& [name, node] : XmlParser::parse(text)) lines.push_back(ascii(render(node)));
  for (const RecordingLogger::Entry& entry : logger.entries()) {
    EXPECT_EQ(entry.level, brio::fnd::loglevel::Debug) << entry.text;
    lines.push_back(ascii(entry.message()));
  }
  return lines;
}

struct Description : testing::TestWithParam<fs::path> {};

TEST_P(Description, IsReadAsItsCommentsSay) {
  const std::string text = readText(GetParam());
  EXPECT_THAT(readFrom(text), testing::UnorderedElementsAreArray(expectedIn(text)));
}

INSTANTIATE_TEST_SUITE_P(Data, Description, testing::ValuesIn(filesIn(VIREO_TEST_DATA, ".xml")),
                         [](const auto& row) { return row.param.stem().string(); });

TEST(Details, TellWhoSelectsWhomAndHowNumbersAreShown) {
  const DetailedFeatures features = parseWithDetails(
      "<RegisterDescription><Category Name='Root'><pFeature>S</pFeature><pFeature>A</pFeature></Category>"
      "<Integer Name='S'><Value>1</Value><pSelected>A</pSelected><pSelected> <!-- a gap --> B </pSelected>"
      "</Integer><Integer Name='A'><pValue>Reg</pValue></Integer>"
      "<IntReg Name='Reg'><Address>0</Address><Length>4</Length><pPort>P</pPort>"
      "<Representation>IPV4Address</Representation></IntReg></RegisterDescription>");
  EXPECT_EQ(features.nodes.size(), 3u);
  EXPECT_THAT(features.details.at("S").selected, testing::ElementsAre("A", "B"));
  EXPECT_EQ(features.details.at("S").representation, "");
  EXPECT_EQ(features.details.at("A").representation, "IPV4Address");  // said behind it
}

// The description with its outermost nodes in another order.
std::string shuffled(const pugi::xml_document& document, unsigned seed) {
  std::vector<pugi::xml_node> nodes;
  for (const pugi::xml_node child : document.document_element()) nodes.push_back(child);
  std::shuffle(nodes.begin(), nodes.end(), std::mt19937(seed));
  std::ostringstream text;
  text << "<RegisterDescription>";
  for (const pugi::xml_node node : nodes) node.print(text, "", pugi::format_raw);
  text << "</RegisterDescription>";
  return text.str();
}

// Of one name the first node counts; nothing else depends on the order, circles least of all.
TEST(XmlParser, ReadsTheSameInAnyOrder) {
  for (const fs::path& file : filesIn(VIREO_TEST_DATA, ".xml")) {
    if (file.stem() == "duplicate_names" || file.stem() == "no_root") continue;
    pugi::xml_document document;
    if (!document.load_file(file.c_str(), pugi::parse_full)) continue;  // what stands around the XML
    const std::vector<std::string> expected = readFrom(shuffled(document, 0));
    for (unsigned seed = 1; seed < 20; ++seed)
      ASSERT_THAT(readFrom(shuffled(document, seed)), testing::UnorderedElementsAreArray(expected)) << file;
  }
}

// ASCII is looked at in long stretches: wherever a byte that is not UTF-8 stands in one, the text is Latin-1.
TEST(XmlParser, ReadsLatin1WhereverItsByteStands) {
  for (std::size_t blanks = 0; blanks < 130; ++blanks) {
    const std::string unit =
        "<Unit>\xB0"
        "C</Unit>";
    const NodeMap nodes = XmlParser::parse("<RegisterDescription>" + std::string(blanks, ' ') +
                                           "<Float Name='Heat'>" + unit + "</Float></RegisterDescription>");
    EXPECT_EQ(std::get<FloatNode>(nodes.at("Heat")).unit,
              "\xC2\xB0"
              "C")
        << blanks << " blanks before it";
  }
}

// The maximum that a formula gives to a feature of its kind; "unknown" where it has no value.
std::string valueOf(const std::string& knife, const std::string& feature, const std::string& formula) {
  const NodeMap nodes = XmlParser::parse(
      "<RegisterDescription><Category Name='Root'><pFeature>Feature</pFeature></Category><" + feature +
      " Name='Feature'><pMax>Knife</pMax></" + feature + "><" + knife + " Name='Knife'>" +
      "<pVariable Name='SEVEN'>Seven</pVariable><Constant Name='HALF'>0.5</Constant><Formula><![CDATA[" +
      formula + "]]></Formula></" + knife +
      "><Integer Name='Seven'><Value>7</Value></Integer></RegisterDescription>");
  if (const auto* const node = std::get_if<IntegerNode>(&nodes.at("Feature")))
    return node->max == INT64_MAX ? "unknown" : fmt::format("{}", node->max);
  const double max = std::get<FloatNode>(nodes.at("Feature")).max;
  return max == std::numeric_limits<double>::max() ? "unknown" : fmt::format("{:.6g}", max);
}

struct FormulaRow {
  const char* formula;
  const char* asInteger;
  const char* asFloat;
};
constexpr const char* unknown = "unknown";
const FormulaRow formulas[] = {
    {"1 + 2 * 3 - 4", "3", "3"},
    {"10 - 3 - 2", "5", "5"},
    {"7 / 2 * 2", "6", "7"},
    {"-7 / 2", "-3", "-3.5"},
    {"-7 % 3", "-1", "-1"},
    {"2 ** 3 ** 2", "512", "512"},
    {"-2 ** 2", "4", "4"},
    {"2 ** -1", unknown, "0.5"},
    {"1 << 4 | 3", "19", "19"},
    {"0x209 & 0xFFF", "521", "521"},
    {"6 & 3 ^ 1 | 8", "11", "11"},
    {"~0 + 5", "4", "4"},
    {"-16 >> 2", "-4", "-4"},
    {"1 << 64", unknown, unknown},
    {"1 << -1", unknown, unknown},
    {"1 = 1", "1", "1"},
    {"1 <> 1", "0", "0"},
    {"2 > 1 && 1 <= 1 && 2 >= 3 || 1 < 2", "1", "1"},
    {"0 && 1", "0", "0"},
    {"0 ? 1 : 0 ? 2 : 3", "3", "3"},
    {"(SEVEN = 7) ? SEVEN + 1 : 1 / 0", "8", "8"},
    {"(SEVEN = 8) ? 1 / 0 : SEVEN", "7", "7"},
    {"SEVEN * HALF", "0", "3.5"},
    {"1.5e1 + .5", "15", "15.5"},
    {"SQRT(16) + ABS(-2) + NEG(1) + SGN(-9)", "4", "4"},
    {"LN(E) + LG(1000) + EXP(0) + LN(E())", "4", "6"},
    {"SIN(PI / 2) + COS(0) + TAN(0)", "1", "2"},
    {"ASIN(0) + ACOS(1) + ATAN(0)", "0", "0"},
    {"TRUNC(-1.5) + FLOOR(-1.5) + CEIL(1.2) + ROUND(2.6)", "1", "2"},
    {"ROUND(2.567, 2)", "2", "2.57"},
    {"0xFFFFFFFFFFFFFFFF + 2", "1", "1.84467e+19"},
    {"9223372036854775807 + 1", unknown, "9.22337e+18"},
    {"-9223372036854775807 - 2", unknown, "-9.22337e+18"},
    {"4294967296 * 4294967296", unknown, "1.84467e+19"},
    {"10 ** 19", unknown, "1e+19"},
    {"(-9223372036854775807 - 1) / -1", unknown, "9.22337e+18"},
    {"(-9223372036854775807 - 1) % -1", unknown, "-0"},
    {"1 / 0", unknown, unknown},
    {"1 % 0", unknown, unknown},
    {"LN(0)", unknown, unknown},
    {"SQRT(-1)", unknown, unknown},
    {"EIGHT", unknown, unknown},
    {"NOBODY(1)", unknown, unknown},
    {"1 +", unknown, unknown},
    {"1 2", unknown, unknown},
    {"(1", unknown, unknown},
    {"1 ? 2", unknown, unknown},
    {"$", unknown, unknown},
    {"12ab", unknown, unknown},
};

TEST(Formula, HasTheValueThatTheStandardGivesIt) {
  for (const auto& [formula, asInteger, asFloat] : formulas) {
    EXPECT_EQ(valueOf("IntSwissKnife", "Integer", formula), asInteger) << formula;
    EXPECT_EQ(valueOf("SwissKnife", "Float", formula), asFloat) << formula;
  }
}

std::string inUtf16(const std::string& ascii) {
  std::string wide = "\xFF\xFE";
  for (const char c : ascii) wide += {c, '\0'};
  return wide;
}

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
      {"I <3 you\n<a/>", "the root element at line 2 (byte 10) is 'a', expected 'RegisterDescription'"},
      {"\n" + open + "\n<Integer",
       "not well-formed XML at line 3 (byte 30): Error parsing start element tag"},
      {open + "\n\xB0\n<Integer></Float>", "not well-formed XML at line 3: Start-end tags mismatch"},
      {inUtf16(open + "\n\n<Integer></Float>"), "not well-formed XML at line 3: Start-end tags mismatch"},
      {inUtf16(open + "\n<Integer></Float>\n"), "not well-formed XML at line 2: Start-end tags mismatch"},
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

// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <ctime>

#include "hostile_descriptions.h"
#include "support/read_text.h"
#include "vireo/genicam/xml_parser.h"

namespace {

using namespace vireo::genicam;

struct Hostile : testing::TestWithParam<HostileDescription> {};

TEST_P(Hostile, IsReadOrRefused) {
  const std::string text = GetParam().text(100'000);
  const std::clock_t start = std::clock();
  if (GetParam().nodes == 0) {
    EXPECT_THROW(XmlParser::parse(text), std::runtime_error);
  } else {
    EXPECT_EQ(XmlParser::parse(text).size(), GetParam().nodes);
  }
  EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 20) << "seconds: more than linear, also for a sanitizer";
}

INSTANTIATE_TEST_SUITE_P(All, Hostile, testing::ValuesIn(hostileDescriptions),
                         [](const auto& row) { return std::string(row.param.name); });

// Every byte of a short description, fewer places of a long one.
TEST(Hostile, NoCutDescriptionIsAccepted) {
  for (const char* const folder : {VIREO_TEST_DATA, VIREO_CAMERA_DESCRIPTIONS}) {
    for (const auto& file : filesIn(folder, ".xml")) {
      const std::string text = readText(file);
      const std::size_t end = std::min(text.rfind('>'), text.find('>', text.find("</RegisterDescription")));
      for (std::size_t size = 0; size < end; size += 1 + text.size() * text.size() / 20'000'000)
        EXPECT_THROW(XmlParser::parse(text.substr(0, size)), std::runtime_error)
            << file << " cut at " << size;
    }
  }
}

}  // namespace

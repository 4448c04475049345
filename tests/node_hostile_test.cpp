// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "hostile_descriptions.h"
#include "support/read_text.h"
#include "vireo/genicam/xml_parser.h"

namespace {

using namespace vireo::genicam;

struct Hostile : testing::TestWithParam<HostileDescription> {};

TEST_P(Hostile, IsReadOrRefused) {
  const std::string text = GetParam().text(100'000);
  if (GetParam().nodes == 0) {
    EXPECT_THROW(XmlParser::parse(text), std::runtime_error);
  } else {
    EXPECT_EQ(XmlParser::parse(text).size(), GetParam().nodes);
  }
}

INSTANTIATE_TEST_SUITE_P(All, Hostile, testing::ValuesIn(kHostileDescriptions),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Hostile, NoCutDescriptionIsAccepted) {
  for (const auto& file : std::filesystem::directory_iterator(VIREO_TEST_DATA)) {
    if (file.path().extension() != ".xml") continue;
    const std::string text = readText(file.path());
    for (std::size_t size = 0; size < text.rfind('>'); ++size) {
      EXPECT_THROW(XmlParser::parse(text.substr(0, size)), std::runtime_error)
          << file.path() << " cut at " << size;
    }
  }
}

}  // namespace

// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "vireo/genicam/pixel_format.h"

using vireo::genicam::bytesPerPixel;

TEST(PixelFormat, EveryNameOfTheStandardHasItsSize) {
  std::ifstream list(VIREO_CAMERA_DESCRIPTIONS "/../pfnc.tsv");
  if (!list) GTEST_SKIP() << "no pfnc.tsv beside the folder VIREO_CAMERA_DESCRIPTIONS";
  int rows = 0;
  for (std::string line; std::getline(list, line);) {
    std::istringstream row(line);
    std::string name, code;
    std::uint32_t bits = 0, bytes = 0;
    if (line.starts_with('#') || !(row >> name >> code >> bits >> bytes)) continue;
    EXPECT_EQ(bytesPerPixel(name), bytes) << name;
    ++rows;
  }
  EXPECT_GT(rows, 200);
}

TEST(PixelFormat, OtherNamesFollowTheSameRulesOrTakeOneByte) {
  std::ifstream list(VIREO_TEST_DATA "/pixel_formats.txt");
  int names = 0;
  for (std::string line; std::getline(list, line);) {
    std::istringstream row(line);
    std::uint32_t bytes = 0;
    if (!(row >> bytes)) continue;
    for (std::string name; row >> name; ++names) EXPECT_EQ(bytesPerPixel(name), bytes) << name;
  }
  EXPECT_GT(names, 40);
  EXPECT_EQ(bytesPerPixel(""), 1u);
}

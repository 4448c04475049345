// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "vireo/genicam/pixel_format.h"

namespace {

using vireo::genicam::bytesPerPixel;

TEST(PixelFormat, EveryNameOfTheStandardHasItsSize) {
  std::ifstream list(VIREO_CAMERA_DESCRIPTIONS "/../pfnc.tsv");
  if (!list) GTEST_SKIP() << "no pfnc.tsv beside the folder VIREO_CAMERA_DESCRIPTIONS";
  for (std::string line; std::getline(list, line);) {
    std::istringstream row(line);
    std::string name, code;
    std::uint32_t bits = 0, bytes = 0;
    if (line.starts_with('#') || !(row >> name >> code >> bits >> bytes)) continue;
    EXPECT_EQ(bytesPerPixel(name), bytes) << name;
  }
}

TEST(PixelFormat, OlderAndRarerNamesFollowTheSameRules) {
  const std::pair<const char*, std::uint32_t> rows[] = {
      {"Mono8Signed", 1},
      {"Mono12pmsb", 2},
      {"Mono1Packed", 1},
      {"Mono2Packed", 1},
      {"Mono24", 3},
      {"RGB8Packed", 3},
      {"BGR10Packed", 6},
      {"RGBA8Packed", 4},
      {"BGRA8Packed", 4},
      {"RGB10V2Packed", 4},
      {"BGR10V1Packed", 4},
      {"RGB565Packed", 2},
      {"RGB8Planar", 3},
      {"RGB16Planar", 6},
      {"YUV411Packed", 2},
      {"YUV422Packed", 2},
      {"YUV422_YUYV_Packed", 2},
      {"YUV444Packed", 3},
      {"YCbCr420_8", 2},
      {"Mono10c3a32", 2},
      {"RGB10c3a32", 4},
      {"BayerRG12pmsb", 2},
      {"Coord3D_ABCY16", 8},
      {"YUV422_10p", 3},
  };
  for (const auto& [name, bytes] : rows) EXPECT_EQ(bytesPerPixel(name), bytes) << name;
}

TEST(PixelFormat, UnknownNamesTakeOneByte) {
  for (const char* const name : {"", "Mono", "mono16", "JPEG", "Raw16", "Mono8x", "Mono16c0a32", "RGB",
                                 "Coord3D_16", "YUV422_8abc", "Mono99999999999999999999", "R", "RGB10c3a"}) {
    EXPECT_EQ(bytesPerPixel(name), 1u) << name;
  }
}

}  // namespace

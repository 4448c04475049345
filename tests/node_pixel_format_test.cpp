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

TEST(PixelFormat, OlderAndRarerNamesFollowTheSameRules) {
  const std::pair<std::uint32_t, std::vector<const char*>> rows[] = {
      {1, {"Mono8Signed", "Mono1Packed", "Mono2Packed"}},
      {2,
       {"Mono12pmsb", "RGB565Packed", "YUV411Packed", "YUV422Packed", "YUV422_YUYV_Packed", "YCbCr420_8",
        "YUV422Packed_AlternateByteOrder"}},
      {2, {"Mono10c3a32", "BayerRG12pmsb", "Polarized10p", "Polarized16"}},
      {3, {"Mono24", "RGB8Packed", "RGB8Planar", "YUV444Packed", "YUV422_10p", "YUV422_12Packed"}},
      {4, {"RGBA8Packed", "BGRA8Packed", "RGB10V2Packed", "BGR10V1Packed", "RGB10c3a32"}},
      {6, {"BGR10Packed", "RGB16Planar"}},
      {8, {"Coord3D_ABCY16"}},
  };
  for (const auto& [bytes, names] : rows) {
    for (const char* const name : names) EXPECT_EQ(bytesPerPixel(name), bytes) << name;
  }
}

TEST(PixelFormat, UnknownNamesTakeOneByte) {
  for (const char* const name : {"",
                                 "Mono",
                                 "mono16",
                                 "JPEG",
                                 "Raw16",
                                 "Mono8x",
                                 "Mono16c0a32",
                                 "RGB",
                                 "Coord3D_16",
                                 "YUV422_8abc",
                                 "Mono99999999999999999999",
                                 "R",
                                 "RGB10c3a",
                                 "YUV",
                                 "YUV_foo",
                                 "YUV422x",
                                 "YUVgarbage",
                                 "YCbCr601",
                                 "YCbCr422_8_8",
                                 "RGB888",
                                 "Mono0",
                                 "Mono9999",
                                 "Mono65",
                                 "RGB10p32junk",
                                 "RGB10c3a32x"}) {
    EXPECT_EQ(bytesPerPixel(name), 1u) << name;
  }
}

// SPDX-License-Identifier: MIT
// From the bytes of a frame to the samples of a picture and the counting of frames.
#include <gmock/gmock.h>

#include "picture.h"
#include "stream_statistics.h"

namespace vireo::host {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

TEST(Unpack, TurnsGoldenBytesIntoSamples) {
  const struct {
    const char* format;
    std::size_t width;
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint16_t> samples;
  } rows[] = {
      {"Mono8", 3, {0, 127, 255}, {0, 127, 255}},
      {"Mono10", 2, {0xff, 0xff, 0x01, 0x02}, {0x3ff, 0x201}},  // bits beyond the tenth are padding
      {"Mono16", 2, {0x34, 0x12, 0xff, 0xff}, {0x1234, 0xffff}},
      {"Mono10p", 4, {0x01, 0x08, 0x30, 0x00, 0xff}, {0x001, 0x002, 0x003, 0x3fc}},
      {"Mono12p", 2, {0xbc, 0x3a, 0x12}, {0xabc, 0x123}},
      {"Mono12p", 3, {0xbc, 0x3a, 0x12, 0x56, 0x04}, {0xabc, 0x123, 0x456}},
      {"Mono14p", 2, {0xff, 0x3f, 0x00, 0x08}, {0x3fff, 0x2000}},
      {"Mono10Packed", 2, {0xff, 0x23, 0x80}, {0x3ff, 0x202}},
      {"Mono12Packed", 2, {0xab, 0x3c, 0x12}, {0xabc, 0x123}},
      {"BayerGR12Packed", 1, {0xab, 0x0c}, {0xabc}},
      {"RGB8", 1, {1, 2, 3}, {1, 2, 3}},
      {"BGR8", 1, {1, 2, 3}, {3, 2, 1}},
      {"BGRa8", 1, {1, 2, 3, 4}, {3, 2, 1, 4}},
      {"RGB12", 1, {0x01, 0x00, 0x00, 0x08, 0xff, 0x0f}, {1, 0x800, 0xfff}},
      {"RGB10p", 1, {0x01, 0x08, 0x30, 0x00}, {1, 2, 3}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format);
    const std::optional<PixelLayout> layout = LayoutOf(row.format);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->ImageBytes(row.width), row.bytes.size());
    EXPECT_THAT(Unpack(*layout, row.width, 1, row.bytes).samples, ElementsAreArray(row.samples));
    const std::span<const std::uint8_t> oneShort = std::span(row.bytes).first(row.bytes.size() - 1);
    EXPECT_THROW(Unpack(*layout, row.width, 1, oneShort), std::runtime_error);
  }
  for (const char* const format :
       {"YUV422_8", "Coord3D_ABC32f", "RGB8_Planar", "Mono8s", "Mono", "", "Mono32"}) {
    EXPECT_FALSE(LayoutOf(format)) << format;
  }
}

TEST(Demosaic, GivesEveryPixelTheColoursAroundIt) {
  // One red, two green and one blue level: each colour must come out flat, whatever the order of the tiles.
  const std::pair<BayerOrder, std::vector<std::uint16_t>> rows[] = {{BayerOrder::RG, {900, 500, 500, 100}},
                                                                    {BayerOrder::GR, {500, 900, 100, 500}},
                                                                    {BayerOrder::GB, {500, 100, 900, 500}},
                                                                    {BayerOrder::BG, {100, 500, 500, 900}}};
  for (const auto& [order, tile] : rows) {
    Picture mosaic{5, 3, 1, 10, {}};
    for (std::size_t i = 0; i < 15; ++i) mosaic.samples.push_back(tile[i / 5 % 2 * 2 + i % 5 % 2]);
    const Picture colour = Demosaic(mosaic, order);
    ASSERT_EQ(colour.samples.size(), 45u);
    for (std::size_t i = 0; i < 45; i += 3) {
      EXPECT_THAT(std::vector(colour.samples.begin() + i, colour.samples.begin() + i + 3),
                  ElementsAre(900, 500, 100))
          << "pixel " << i / 3 << " of order " << static_cast<int>(order);
    }
  }
  // A gradient: the middle pixel is red; its green is the mean of four, its blue of the four corners.
  const Picture middle = Demosaic({3, 3, 1, 8, {10, 20, 30, 40, 200, 60, 70, 80, 91}}, BayerOrder::BG);
  EXPECT_THAT(std::vector(middle.samples.begin() + 12, middle.samples.begin() + 15),
              ElementsAre(200, 50, 50));
}

TEST(StreamStatistics, CountsLostFramesAcrossTheWrapOfShortIds) {
  const std::pair<std::vector<std::uint64_t>, std::uint64_t> rows[] = {
      {{7, 8, 9}, 0},
      {{7, 10, 11, 13}, 3},
      {{65534, 65535, 1, 2}, 0},
      {{65534, 65535, 0, 1}, 0},
      {{65533, 2}, 3},             // 65534, 65535 and 1
      {{65535, 65536, 65537}, 0},  // ids of 64 bits go on
      {{0x100000000, 5}, 0},       // a counter that was reset
      {{500, 3}, 0},
  };
  for (const auto& [ids, lost] : rows) {
    StreamStatistics statistics;
    auto time = StreamStatistics::Clock::time_point{};
    for (const std::uint64_t id : ids) statistics.AddFrame(id, 100, time += std::chrono::milliseconds(20));
    EXPECT_EQ(statistics.Lost(), lost) << testing::PrintToString(ids);
    EXPECT_NEAR(statistics.FrameRate(), 50.0, 1e-6);
    EXPECT_NEAR(statistics.LongestGap(), 0.02, 1e-9);
  }
}

}  // namespace
}  // namespace vireo::host

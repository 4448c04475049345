// SPDX-License-Identifier: MIT
// From the bytes of a frame to the samples of a picture and the counting of frames.
#include <gmock/gmock.h>

#include "camera/statistics.h"
#include "pictures/picture.h"

namespace vireo::host {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

const struct {
  const char* format;
  std::size_t width;
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint16_t> samples;
  std::optional<std::int64_t> code = std::nullopt;
} goldenPixels[] = {
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
    // Names that follow no rule; the code says how many bits a pixel takes.
    {"CustomBayerRG14", 1, {0xff, 0x3f}, {0x3fff}, 0x81100001},
    {"BGRA8Packed", 1, {1, 2, 3, 4}, {3, 2, 1, 4}, 0x02200017},
    {"RGB12Packed", 1, {0x01, 0x00, 0x00, 0x08, 0xff, 0x0f}, {1, 0x800, 0xfff}, 0x0230001a},
    {"XMono10Packed", 2, {0xff, 0x23, 0x80}, {0x3ff, 0x202}, 0x010c0004},
    {"Mono12P", 2, {0xbc, 0x3a, 0x12}, {0xabc, 0x123}, 0x010c0047},
    {"Raw", 2, {7, 9}, {7, 9}, 0x01080001},
};

TEST(Unpack, TurnsGoldenBytesIntoSamples) {
  for (const auto& row : goldenPixels) {
    SCOPED_TRACE(row.format);
    const std::optional<PixelLayout> layout = LayoutOf({row.format, row.code});
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->ImageBytes(row.width), row.bytes.size());
    EXPECT_THAT(Unpack(*layout, row.width, 1, row.bytes).samples, ElementsAreArray(row.samples));
    const std::span<const std::uint8_t> oneShort = std::span(row.bytes).first(row.bytes.size() - 1);
    EXPECT_THROW(Unpack(*layout, row.width, 1, oneShort), std::runtime_error);
  }
}

TEST(LayoutOf, KnowsWhatIsNotAPicture) {
  const PixelFormat noPictures[] = {{"Mono", {}},
                                    {"", {}},
                                    {"YUV422_8", 0x02100032},
                                    {"Coord3D_ABC32f", 0x026000c0},
                                    {"RGB8_Planar", 0x02180021},
                                    {"Mono8s", 0x01080002},
                                    {"Mono32", 0x01200111},
                                    {"BiColorRGBG12p", 0x021800ac},
                                    {"Raw", 0}};
  for (const PixelFormat& format : noPictures) EXPECT_FALSE(LayoutOf(format)) << format.name;
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
  using Ids = std::vector<std::uint64_t>;
  const struct {
    Ids received;
    std::uint64_t lost;
    std::vector<Ids> ranges;  // first and last lost id
  } rows[] = {
      {{7}, 0, {}},
      {{7, 8, 9}, 0, {}},
      {{7, 7, 8}, 0, {}},
      {{7, 10, 11, 13}, 3, {{8, 9}, {12, 12}}},
      {{65534, 65535, 1, 2}, 0, {}},
      {{65534, 65535, 0, 1}, 0, {}},
      {{65533, 2}, 3, {{65534, 1}}},
      {{65535, 3}, 2, {{1, 2}}},
      {{65533, 1}, 2, {{65534, 65535}}},
      {{65535, 65536, 65537}, 0, {}},  // ids of 64 bits go on
      {{0x100000000, 5}, 0, {}},       // a counter that was reset
      {{32767, 1}, 0, {}},             // the same: not far enough back for a wrap
      {{32768, 1}, 32767, {{32769, 65535}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.received));
    StreamStatistics statistics;
    auto time = StreamStatistics::Clock::time_point{};
    for (const auto id : row.received) statistics.AddFrame(id, 100, time += std::chrono::milliseconds(20));
    EXPECT_EQ(statistics.Lost(), row.lost);
    std::vector<Ids> ranges;
    for (const LostRange& range : statistics.LostRanges()) ranges.push_back({range.first, range.last});
    EXPECT_EQ(ranges, row.ranges);
    const bool several = row.received.size() > 1;
    EXPECT_NEAR(statistics.FrameRate(), several ? 50.0 : 0.0, 1e-6);
    EXPECT_NEAR(statistics.LongestGap(), several ? 0.02 : 0.0, 1e-9);
  }
}

}  // namespace
}  // namespace vireo::host

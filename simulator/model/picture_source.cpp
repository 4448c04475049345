// SPDX-License-Identifier: MIT
#include "simulator/model/picture_source.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vireo::simulator {
namespace {

constexpr std::uint32_t mono8 = 0x01080001;
constexpr std::uint32_t mono16 = 0x01100007;
constexpr std::uint32_t rgb8 = 0x02180014;

constexpr std::size_t stripe = 256;  // pixels from stripe to stripe

enum class Colour : std::size_t { Red, Green, Blue };

// The colour of the pixels at even and odd x in even rows, then in odd rows.
struct Mosaic {
  std::uint32_t pixelFormat;
  std::array<std::array<Colour, 2>, 2> colours;
};

using enum Colour;
constexpr Mosaic mosaics[] = {
    {0x01080008, {{{Green, Red}, {Blue, Green}}}},
    {0x01080009, {{{Red, Green}, {Green, Blue}}}},
    {0x0108000a, {{{Green, Blue}, {Red, Green}}}},
    {0x0108000b, {{{Blue, Green}, {Green, Red}}}},
};

const Mosaic* mosaicOf(std::uint32_t pixelFormat) {
  const auto* const found = std::ranges::find(mosaics, pixelFormat, &Mosaic::pixelFormat);
  return found == std::end(mosaics) ? nullptr : found;
}

// The stripes of one picture, as the line that all its lines are copied from.
class Stripes {
 public:
  explicit Stripes(const PictureSettings& settings)
      : settings_(settings), mosaic_(mosaicOf(settings.pixelFormat)) {}

  Bytes Line(bool oddRow, bool oddStart) const {
    Bytes line;
    line.reserve((stripe + settings_.width) * BitsPerPixel(settings_.pixelFormat) / 8);
    for (std::size_t i = 0; i < stripe + settings_.width; ++i) addPixel(line, i, oddRow, oddStart);
    return line;
  }

 private:
  std::uint32_t level(std::size_t at, Colour colour, std::uint32_t scale) const {
    const std::size_t phase = (at + static_cast<std::size_t>(colour) * stripe / 3) % stripe;
    const double value = static_cast<double>(phase * scale) * settings_.brightness;
    return static_cast<std::uint32_t>(std::min(value, 256.0 * scale - 1));
  }

  void addPixel(Bytes& line, std::size_t at, bool oddRow, bool oddStart) const {
    if (settings_.pixelFormat == mono16) {
      const std::uint32_t value = level(at, Red, 256);
      line.push_back(static_cast<std::uint8_t>(value));
      line.push_back(static_cast<std::uint8_t>(value >> 8));
    } else if (settings_.pixelFormat == rgb8) {
      for (const Colour colour : {Red, Green, Blue})
        line.push_back(static_cast<std::uint8_t>(level(at, colour, 1)));
    } else {
      const Colour colour = mosaic_ == nullptr ? Red : mosaic_->colours[oddRow][(at + oddStart) % 2];
      line.push_back(static_cast<std::uint8_t>(level(at, colour, 1)));
    }
  }

  const PictureSettings& settings_;
  const Mosaic* mosaic_;
};

}  // namespace

bool IsSupported(std::uint32_t pixelFormat) {
  return pixelFormat == mono8 || pixelFormat == mono16 || pixelFormat == rgb8 ||
         mosaicOf(pixelFormat) != nullptr;
}

void FillPicture(const PictureSettings& settings, std::uint64_t frameNumber, Bytes& image) {
  const std::size_t pixelSize = BitsPerPixel(settings.pixelFormat) / 8;
  const std::size_t lineSize = settings.width * pixelSize;
  const Stripes stripes(settings);
  const std::array<std::array<Bytes, 2>, 2> lines = {{{stripes.Line(false, false), stripes.Line(false, true)},
                                                      {stripes.Line(true, false), stripes.Line(true, true)}}};
  image.resize(settings.ImageSize());
  for (std::size_t y = 0; y < settings.height; ++y) {
    const std::size_t start = (frameNumber + settings.offsetX + settings.offsetY + y) % stripe;
    const Bytes& line = lines[y % 2][start % 2];
    std::memcpy(image.data() + y * lineSize, line.data() + start * pixelSize, lineSize);
  }
}

}  // namespace vireo::simulator

// SPDX-License-Identifier: MIT
#include "pictures/png.h"

#include <fmt/format.h>
#include <png.h>

#include <csetjmp>
#include <stdexcept>

#include "pictures/frame_format.h"

namespace vireo::host {
namespace {

// What libpng's callbacks work on. They must not throw: libpng is C.
struct Encoder {
  std::vector<unsigned char> file;
  bool outOfMemory = false;
  std::string error;
};

void append(png_structp png, png_bytep data, std::size_t size) {
  auto& encoder = *static_cast<Encoder*>(png_get_io_ptr(png));
  try {
    encoder.file.insert(encoder.file.end(), data, data + size);
  } catch (const std::bad_alloc&) {
    encoder.outOfMemory = true;
  }
}

void flush(png_structp) {}

[[noreturn]] void onError(png_structp png, png_const_charp text) {
  static_cast<Encoder*>(png_get_error_ptr(png))->error = text;
  png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

int colourType(unsigned channels) {
  return channels == 1 ? PNG_COLOR_TYPE_GRAY : channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA;
}

void packRow(const Picture& picture, std::size_t y, std::vector<unsigned char>& row) {
  const std::size_t samples = picture.width * picture.channels;
  const std::uint16_t* const from = picture.samples.data() + y * samples;
  if (picture.bits <= 8) {
    for (std::size_t i = 0; i < samples; ++i)
      row[i] = static_cast<unsigned char>(from[i] << (8 - picture.bits));
    return;
  }
  for (std::size_t i = 0; i < samples; ++i) {
    const unsigned value = static_cast<unsigned>(from[i]) << (16 - picture.bits);
    row[2 * i] = static_cast<unsigned char>(value >> 8);
    row[2 * i + 1] = static_cast<unsigned char>(value);
  }
}

void writeHeader(png_structp png, png_infop info, const Picture& picture) {
  const int depth = picture.bits <= 8 ? 8 : 16;
  png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height),
               depth, colourType(picture.channels), PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  // A grab must keep up with the camera: these files are a little larger, but made several times as fast.
  png_set_compression_level(png, 1);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
  if (static_cast<int>(picture.bits) != depth) {
    png_color_8 significant{};
    significant.red = significant.green = significant.blue = static_cast<png_byte>(picture.bits);
    significant.gray = significant.alpha = significant.red;
    png_set_sBIT(png, info, &significant);
  }
  png_write_info(png, info);
}

// No object with a destructor may live between setjmp and a longjmp, so all storage comes from the caller.
bool encode(png_structp png, png_infop info, const Picture& picture, std::vector<unsigned char>& row) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  writeHeader(png, info, picture);
  for (std::size_t y = 0; y < picture.height; ++y) {
    packRow(picture, y, row);
    png_write_row(png, row.data());
  }
  png_write_end(png, info);
  return true;
}

class PngWriter final : public FilePerFrame {
 public:
  explicit PngWriter(const FrameTarget& target) : FilePerFrame(target, pngFormat.name) {}

 private:
  void fill(OutputFile& file, const Frame& frame) const override { file.Write(EncodePng(pictureOf(frame))); }
};

}  // namespace

const FrameFormat pngFormat = {.name = "png",
                               .holds = "pixels scaled to 8 or 16 bits",
                               .picturesOnly = true,
                               .keepsOrder = false,
                               .makeWriter = MakeWriter<PngWriter>};

std::vector<unsigned char> EncodePng(const Picture& picture) {
  Encoder encoder;
  std::vector<unsigned char> row(picture.width * picture.channels * (picture.bits <= 8 ? 1 : 2));
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &encoder, onError, onWarning);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  bool done = false;
  if (info != nullptr) {
    png_set_write_fn(png, &encoder, append, flush);
    done = encode(png, info, picture, row);
  }
  png_destroy_write_struct(&png, &info);
  if (encoder.outOfMemory || (!done && encoder.error.empty())) throw std::bad_alloc();
  if (!done) throw std::runtime_error(fmt::format("cannot make a PNG picture: {}", encoder.error));
  return std::move(encoder.file);
}

}  // namespace vireo::host

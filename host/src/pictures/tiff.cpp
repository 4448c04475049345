// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <optional>

#include "pictures/frame_format.h"
#include "pictures/frame_index.h"
#include "terminal/failure.h"

namespace vireo::host {
namespace {

constexpr std::size_t directoryRoom = 4096;  // more than libtiff needs for a page besides its pixels

thread_local std::string lastError;

void rememberError(const char*, const char* format, std::va_list arguments) {
  char text[256];
  std::vsnprintf(text, sizeof text, format, arguments);
  lastError = text;
}

void describePage(TIFF* tiff, const Picture& picture) {
  const int depth = picture.bits <= 8 ? 8 : 16;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(picture.width));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(picture.height));
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, depth);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(picture.channels));
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, picture.channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_MAXSAMPLEVALUE, (1 << picture.bits) - 1);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
  if (picture.channels == 4) {
    const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
  }
}

bool writePixels(TIFF* tiff, const Picture& picture) {
  const std::size_t rowSamples = picture.width * picture.channels;
  std::vector<std::uint8_t> bytes(rowSamples);
  std::vector<std::uint16_t> words(rowSamples);
  for (std::size_t y = 0; y < picture.height; ++y) {
    const std::uint16_t* const from = picture.samples.data() + y * rowSamples;
    void* row = words.data();
    if (picture.bits <= 8) {
      for (std::size_t i = 0; i < rowSamples; ++i) bytes[i] = static_cast<std::uint8_t>(from[i]);
      row = bytes.data();
    } else {
      std::copy(from, from + rowSamples, words.begin());  // libtiff may swap the bytes in place
    }
    if (TIFFWriteScanline(tiff, row, static_cast<std::uint32_t>(y)) != 1) return false;
  }
  return true;
}

// The pages of a TIFF file. Numbers are stored as they are, in 8 or 16 bits; MaxSampleValue tells the
// significant bits. Throws Failure. To be ended before the file is committed: libtiff writes its last bytes
// then.
class TiffPages {
 public:
  // `mode` is libtiff's: "w8" for a file that may pass 4 GB (BigTIFF), else "w".
  TiffPages(OutputFile& file, const char* mode) : file_(file), tiff_(nullptr, TIFFCleanup) {
    TIFFSetErrorHandler(rememberError);
    TIFFSetWarningHandler(nullptr);
    tiff_.reset(TIFFFdOpen(file_.Descriptor(), file_.Path().c_str(), mode));
    if (tiff_ == nullptr) throw writeFailure();
  }

  // libtiff links a page before it is whole, so a disk that fills up has to show before that.
  void Reserve(const Picture& picture) {
    file_.Reserve(picture.samples.size() * (picture.bits <= 8 ? 1 : 2) + directoryRoom);
  }

  // When it fails, the pages before stay readable.
  void Add(const Picture& picture) {
    describePage(tiff_.get(), picture);
    if (!writePixels(tiff_.get(), picture) || TIFFWriteDirectory(tiff_.get()) != 1) throw writeFailure();
  }

 private:
  Failure writeFailure() const {
    return Failure(ExitStatus::Failed, fmt::format("cannot write {}: {}", file_.Path().string(), lastError));
  }

  OutputFile& file_;
  std::unique_ptr<TIFF, void (*)(TIFF*)> tiff_;
};

class TiffWriter final : public FilePerFrame {
 public:
  explicit TiffWriter(const FrameTarget& target) : FilePerFrame(target, tiffFormat.name) {}

 private:
  void fill(OutputFile& file, const Frame& frame) const override {
    const Picture picture = pictureOf(frame);
    TiffPages pages(file, "w");
    pages.Reserve(picture);
    pages.Add(picture);
  }
};

class StackWriter final : public FrameWriter {
 public:
  explicit StackWriter(const FrameTarget& target)
      : layout_(*target.layout), file_(target.directory / stackFileName, target.overwrite) {
    pages_.emplace(file_, "w8");
  }

  void Write(const Frame& frame, FrameIndex& index) override {
    const Picture picture = Develop(layout_, frame);
    pages_->Reserve(picture);
    index.Add(frame, {std::string(stackFileName), frame.index}, [&] { pages_->Add(picture); });
  }

  void Commit() override {
    pages_.reset();
    file_.Commit();
  }

 private:
  PixelLayout layout_;
  OutputFile file_;
  std::optional<TiffPages> pages_;
};

}  // namespace

const FrameFormat tiffFormat = {.name = "tiff",
                                .holds = "the camera's own numbers",
                                .picturesOnly = true,
                                .keepsOrder = false,
                                .makeWriter = MakeWriter<TiffWriter>};

const FrameFormat stackFormat = {.name = "tiff",
                                 .holds = "All frames into one TIFF file of many pages, frames.tiff",
                                 .picturesOnly = true,
                                 .keepsOrder = true,
                                 .makeWriter = MakeWriter<StackWriter>};

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "exit_status.h"
#include "picture_file.h"

namespace vireo::host {
namespace {

constexpr std::size_t directoryRoom = 4096;  // more than libtiff needs for a page besides its pixels

thread_local std::string lastError;

void rememberError(const char*, const char* format, std::va_list arguments) {
  char text[256];
  std::vsnprintf(text, sizeof text, format, arguments);
  lastError = text;
}

TIFF* handle(void* tiff) {
  return static_cast<TIFF*>(tiff);
}

void closeTiff(void* tiff) {
  TIFFCleanup(handle(tiff));
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

}  // namespace

TiffFile::TiffFile(const std::filesystem::path& path, bool overwrite, bool manyPages)
    : file_(path, overwrite), path_(path), tiff_(nullptr, closeTiff) {
  TIFFSetErrorHandler(rememberError);
  TIFFSetWarningHandler(nullptr);
  tiff_.reset(TIFFFdOpen(file_.Descriptor(), path.c_str(), manyPages ? "w8" : "w"));
  if (tiff_ == nullptr) {
    throw Failure(ExitStatus::Failed, fmt::format("cannot write {}: {}", path.string(), lastError));
  }
}

TiffFile::~TiffFile() = default;

void TiffFile::AddPage(const Picture& picture) {
  // libtiff links a page before it is whole, so a disk that fills up has to show before that.
  file_.Reserve(picture.samples.size() * (picture.bits <= 8 ? 1 : 2) + directoryRoom);
  TIFF* const tiff = handle(tiff_.get());
  describePage(tiff, picture);
  if (!writePixels(tiff, picture) || TIFFWriteDirectory(tiff) != 1) {
    throw Failure(ExitStatus::Failed, fmt::format("cannot write {}: {}", path_.string(), lastError));
  }
}

void TiffFile::Commit() {
  tiff_.reset();
  file_.Commit();
}

}  // namespace vireo::host

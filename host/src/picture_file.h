// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <vector>

#include "output_file.h"
#include "picture.h"

namespace vireo::host {

/// The bytes of a PNG file. Pictures of up to 8 bits are stored in 8; deeper ones in 16 with the value
/// shifted to the top, the number of significant bits in the sBIT chunk. Lossless; throws std::runtime_error.
std::vector<unsigned char> EncodePng(const Picture& picture);

/// A TIFF file of one or more pages. Numbers are stored as they are, in 8 or 16 bits; MaxSampleValue tells
/// the significant bits.
class TiffFile {
 public:
  /// A file of many pages may pass 4 GB (BigTIFF). Throws Failure, as do the other operations.
  TiffFile(const std::filesystem::path& path, bool overwrite, bool manyPages);
  ~TiffFile();

  /// When it fails, the pages before stay readable.
  void AddPage(const Picture& picture);
  void Commit();

 private:
  OutputFile file_;
  std::filesystem::path path_;
  std::unique_ptr<void, void (*)(void*)> tiff_;  // libtiff's TIFF
};

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pictures/frame.h"
#include "pictures/layout.h"
#include "pictures/picture.h"
#include "terminal/output_file.h"

namespace vireo::host {

class FrameIndex;

/// Where the frames of a grab go, and how they become pictures.
struct FrameTarget {
  std::filesystem::path directory;
  bool overwrite = false;
  std::optional<PixelLayout> layout;  ///< none for frames that are not a plain picture
};

/// Saves the frames of one grab in one format.
class FrameWriter {
 public:
  virtual ~FrameWriter() = default;

  /// Saves a frame and adds it to the index, which says when its picture may become visible. Throws Failure
  /// or std::runtime_error. Several threads call it at once, unless the format keeps an order.
  virtual void Write(const Frame& frame, FrameIndex& index) = 0;
  /// Called once, after the last frame, unless there is none. Where it throws, no frame is safe.
  virtual void Commit() {}
};

/// A way to save frames. A new one is a file here that defines its writer and one of these, declared below
/// and listed in `FrameFormats`; help, checks and file names follow.
struct FrameFormat {
  std::string_view name;   ///< of --format, and the extension of its files
  std::string_view holds;  ///< what its files hold, for the help
  bool picturesOnly;       ///< cannot hold frames that are not a plain picture
  bool keepsOrder;         ///< the frames must come one after the other
  std::unique_ptr<FrameWriter> (*makeWriter)(const FrameTarget& target);
};

extern const FrameFormat pngFormat;
extern const FrameFormat tiffFormat;
extern const FrameFormat rawFormat;
/// All frames into one TIFF file, frames.tiff. --stack chooses it, not --format.
extern const FrameFormat stackFormat;
inline constexpr std::string_view stackFileName = "frames.tiff";

/// The formats that --format chooses from.
const std::vector<const FrameFormat*>& FrameFormats();

/// Whether a file of that name is one that a grab leaves behind, in whatever format.
bool IsSavedFrame(const std::string& fileName);

/// For formats with a file a frame, frame_000001.EXTENSION: all but what goes into it.
class FilePerFrame : public FrameWriter {
 public:
  FilePerFrame(FrameTarget target, std::string_view extension)
      : target_(std::move(target)), extension_(extension) {}
  void Write(const Frame& frame, FrameIndex& index) final;

 protected:
  /// Only for formats of pictures.
  Picture pictureOf(const Frame& frame) const { return Develop(*target_.layout, frame); }

 private:
  virtual void fill(OutputFile& file, const Frame& frame) const = 0;

  FrameTarget target_;
  std::string_view extension_;
};

/// `FrameFormat::makeWriter` of the writer class `Writer`.
template <typename Writer>
std::unique_ptr<FrameWriter> MakeWriter(const FrameTarget& target) {
  return std::make_unique<Writer>(target);
}

}  // namespace vireo::host

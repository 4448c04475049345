// SPDX-License-Identifier: MIT
#include "pictures/frame_format.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <algorithm>

#include "pictures/frame_index.h"

namespace vireo::host {

const std::vector<const FrameFormat*>& FrameFormats() {
  static const std::vector<const FrameFormat*> formats = {&pngFormat, &tiffFormat, &rawFormat};
  return formats;
}

bool IsSavedFrame(const std::string& fileName) {
  if (fileName == stackFileName) return true;
  const auto isOfFormat = [&](const FrameFormat* format) {
    const std::string pattern = fmt::format("frame_[0-9][0-9][0-9][0-9][0-9]+([0-9]).{}", format->name);
    return fnmatch(pattern.c_str(), fileName.c_str(), FNM_EXTMATCH) == 0;
  };
  return std::any_of(FrameFormats().begin(), FrameFormats().end(), isOfFormat);
}

void FilePerFrame::Write(const Frame& frame, FrameIndex& index) {
  const std::string name = fmt::format("frame_{:06}.{}", frame.index, extension_);
  OutputFile file(target_.directory / name, target_.overwrite);
  fill(file, frame);
  index.Add(frame, {name}, [&] { file.Commit(); });
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "pictures/frame_format.h"

namespace vireo::host {
namespace {

class RawWriter final : public FilePerFrame {
 public:
  explicit RawWriter(const FrameTarget& target) : FilePerFrame(target, rawFormat.name) {}

 private:
  void fill(OutputFile& file, const Frame& frame) const override { file.Write(frame.Bytes()); }
};

}  // namespace

const FrameFormat rawFormat = {.name = "raw",
                               .holds = "the bytes as they came",
                               .picturesOnly = false,
                               .keepsOrder = false,
                               .makeWriter = MakeWriter<RawWriter>};

}  // namespace vireo::host

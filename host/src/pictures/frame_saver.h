// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pictures/frame_format.h"
#include "pictures/frame_index.h"
#include "pictures/frame_queue.h"
#include "pictures/frame_sink.h"
#include "terminal/output_directory.h"

namespace vireo::host {

struct SaveOptions {
  std::filesystem::path directory = "frames";
  const FrameFormat* format = &pngFormat;
  bool force = false;                          ///< overwrite existing files
  std::vector<std::string> extraColumns = {};  ///< of frames.csv, behind its own
};

/// Turns frames into files while receiving goes on: a queue hands them to worker threads, a writer of the
/// chosen format saves them, an index lists them. Every file that it leaves behind is complete; without any
/// frame it leaves everything as it was.
class FrameSaver final : public FrameSink {
 public:
  /// Throws Failure when the directory cannot be made, files of an earlier grab would be overwritten, or the
  /// format cannot hold such pixels.
  FrameSaver(SaveOptions options, const PixelFormat& pixelFormat);

  bool Save(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer,
            const std::vector<std::string>& extra) override;
  void Finish() override;
  std::uint64_t Saved() const override { return saved_; }

 private:
  void saveFrame(const Frame& frame);
  void commit();

  SaveOptions options_;
  FrameTarget target_;
  OutputDirectory directory_;
  FrameIndex index_;
  std::unique_ptr<FrameWriter> writer_;
  std::uint64_t saved_ = 0;
  std::optional<FrameQueue> queue_;  // last: its workers use all of the above
};

}  // namespace vireo::host

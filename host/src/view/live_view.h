// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "../camera.h"
#include "../frame_stream.h"
#include "../parameter_rows.h"
#include "../parameter_values.h"
#include "../picture.h"
#include "../pixel_layout.h"

namespace vireo::host {

/// The newest frame of a running stream and the few parameters that the page shows. Frames come in on the
/// receiving thread, questions on any other.
class LiveView {
 public:
  explicit LiveView(Camera& camera);

  /// Keeps the frame and leaves the buffer of the one before.
  void Take(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer);
  void Take(const StreamStatistics& statistics);

  /// The newest frame as a PNG picture of at most 1024 pixels across. Throws std::runtime_error when there is
  /// none, or none that can be shown.
  std::vector<unsigned char> Png() const;
  /// What the page shows besides the picture.
  Json State() const;
  /// Sets one of the parameters that the page offers. Throws Failure.
  void Set(const std::string& name, const Json& value);

 private:
  struct Frame {
    common::FrameInfo info;
    std::vector<std::uint8_t> bytes;
  };

  void scan();
  Picture newest() const;
  Json basicParameters() const;

  Camera& camera_;
  std::string pixelFormat_;
  std::optional<PixelLayout> layout_;
  mutable std::mutex mutex_;  // of what follows; never held during a call of the adapter
  Frame frame_;
  std::uint64_t frames_ = 0;
  StreamStatistics statistics_;
  ParametersByName adjustable_;
  Json basic_;
};

}  // namespace vireo::host

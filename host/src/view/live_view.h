// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "camera/stream.h"
#include "parameters/values.h"
#include "parameters/writer.h"
#include "pictures/frame.h"
#include "pictures/layout.h"
#include "pictures/picture.h"
#include "terminal/json.h"

namespace vireo::host {

/// A pixel of the camera's image, from the upper left corner.
struct PixelPlace {
  std::size_t x = 0;
  std::size_t y = 0;
};

/// The newest frame of a running stream and the parameters that the page shows. The receiving thread brings
/// the frames; any thread may ask and set.
///
/// Exposure, gain and frame rate are set while frames come. Whatever else is set may change the size of a
/// frame, or be refused meanwhile: whoever sets it waits until the receiving thread has stopped the stream,
/// carries the change out in `Change` and starts it again.
class LiveView {
 public:
  explicit LiveView(Camera& camera);

  // For the receiving thread.

  /// Keeps the frame and leaves the buffer of the one before.
  void Take(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer);
  void Take(const FrameStream& stream);
  /// The stream has ended: the page says why, and nothing can be changed until `Resume`.
  void End(const Failure& failure);
  /// The camera is there again: repeats on it what the page has changed.
  void Resume();
  /// Whether a change waits for the stream to stop.
  bool ChangeWaits() const;
  /// Carries out the change that waits, if any. Without a stream.
  void Change();

  // For the page.

  /// The newest frame as a PNG picture of at most 1024 pixels across, saturated pixels red where that is
  /// wanted. Throws std::runtime_error when there is none, or none that can be shown.
  std::vector<unsigned char> Preview(bool markSaturated) const;
  /// The newest frame as `grab` saves it. Throws as `Preview` does.
  std::vector<unsigned char> Png() const;
  /// What the page shows besides the picture; the samples of a pixel where one is asked for.
  Json State(std::optional<PixelPlace> pixel) const;
  /// Name, value and range of every parameter that can be written.
  Json Writable() const;
  /// Sets a parameter. Throws Failure.
  void Set(const std::string& name, const Json& value);

 private:
  struct Request {
    std::string name;
    Json value;
    std::optional<Failure> failure;
    bool done = false;
  };

  /// A frame with the layout of its pixels.
  struct Shown {
    Frame frame;
    PixelLayout layout;
  };

  Shown newest() const;
  Picture newestPicture() const;
  static Json pixelJson(const Shown& shown, PixelPlace place);
  Json adjustableJson() const;  // under the mutex
  void write(const std::string& name, const Json& value);
  void showParameters(const ParametersByName& scanned);

  Camera& camera_;
  ParameterWriter writer_;    // used under the camera's control lock
  mutable std::mutex mutex_;  // of what follows; never held during a call of the adapter
  std::condition_variable changed_;
  std::string title_;
  PixelFormat pixelFormat_;
  std::optional<PixelLayout> layout_;
  Frame frame_;  // index 0: none yet
  StreamStatistics statistics_;
  std::string trouble_;  // why no picture comes; empty while one does
  std::map<std::string, Json> writable_;
  std::vector<std::string> adjustable_;
  Json basic_;
  std::optional<Failure> ended_;
  std::vector<std::pair<std::string, Json>> changes_;  // in their order
  Request* request_ = nullptr;                         // of the thread that waits in `Set`
};

}  // namespace vireo::host

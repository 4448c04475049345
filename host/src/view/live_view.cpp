// SPDX-License-Identifier: MIT
#include "live_view.h"

#include <fmt/format.h>

#include <array>

#include "../picture_file.h"
#include "preview.h"

namespace vireo::host {
namespace {

constexpr std::size_t widestPicture = 1024;
constexpr std::array adjustableNames = {"ExposureTime", "Gain", "GainRaw", "AcquisitionFrameRate"};

}  // namespace

LiveView::LiveView(Camera& camera)
    : camera_(camera), pixelFormat_(camera.ValueOr("PixelFormat", "Mono8")), layout_(LayoutOf(pixelFormat_)) {
  scan();
}

void LiveView::Take(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
  const std::lock_guard lock(mutex_);
  frame_.bytes.resize(buffer.size());
  std::swap(frame_.bytes, buffer);
  frame_.info = info;
  ++frames_;
}

void LiveView::Take(const StreamStatistics& statistics) {
  const std::lock_guard lock(mutex_);
  statistics_ = statistics;
}

Picture LiveView::newest() const {
  Frame frame;
  {
    const std::lock_guard lock(mutex_);
    if (frames_ == 0) throw std::runtime_error("no frame yet");
    frame = frame_;
  }
  if (!layout_) throw std::runtime_error(fmt::format("{} frames are no plain picture", pixelFormat_));
  return Develop(*layout_, static_cast<std::size_t>(frame.info.width),
                 static_cast<std::size_t>(frame.info.height), std::span(frame.bytes).first(frame.info.size));
}

std::vector<unsigned char> LiveView::Png() const {
  return EncodePng(Preview(newest(), widestPicture));
}

Json LiveView::State() const {
  Json histogram = Json::array();
  try {
    histogram = Histogram(newest());
  } catch (const std::runtime_error&) {  // the page shows an empty one
  }
  const std::lock_guard lock(mutex_);
  Json adjustable = Json::array();
  for (const auto& [name, parameter] : adjustable_) {
    adjustable.push_back({{"name", name},
                          {"value", ValueToJson(parameter)},
                          {"min", parameter.metadata->min.value_or(0.0)},
                          {"max", parameter.metadata->max.value_or(0.0)},
                          {"unit", parameter.metadata->unit}});
  }
  return {{"frame_id", frame_.info.frameId},
          {"frames", frames_},
          {"frames_per_second", statistics_.FrameRate()},
          {"megabytes_per_second", statistics_.MegabytesPerSecond()},
          {"lost", statistics_.Lost()},
          {"bad", statistics_.Faults().Bad()},
          {"histogram", histogram},
          {"basic", basic_},
          {"adjustable", adjustable}};
}

void LiveView::Set(const std::string& name, const Json& value) {
  common::Parameter like;
  {
    const std::lock_guard lock(mutex_);
    const auto offered = adjustable_.find(name);
    if (offered == adjustable_.end()) {
      throw Failure(ExitStatus::Failed, fmt::format("{} cannot be changed here", name));
    }
    like = offered->second;
  }
  const common::Parameter wanted = ParseJson(like, value);
  if (const auto objection = Objection(wanted, {{name, like}})) throw Failure(ExitStatus::Failed, *objection);
  {
    const std::lock_guard control(camera_.Control());
    camera_.Adapter().Write(wanted);
  }
  scan();
}

void LiveView::scan() {
  ParametersByName adjustable;
  Json basic;
  {
    const std::lock_guard control(camera_.Control());
    const ParametersByName scanned = ScanByName(camera_);
    for (const char* const name : adjustableNames) {
      const auto found = scanned.find(name);
      if (found != scanned.end() && found->second.metadata->writable) adjustable[name] = found->second;
    }
    basic = basicParameters();
  }
  const std::lock_guard lock(mutex_);
  adjustable_ = std::move(adjustable);
  basic_ = std::move(basic);
}

Json LiveView::basicParameters() const {
  const common::BasicParams basic = camera_.Adapter().GetBasicParams();
  return {{"Exposure", fmt::format("{} ms", static_cast<float>(basic.exposureTime * 1e3))},
          {"Frame rate", fmt::format("{} frames/s", static_cast<float>(basic.frameRate))},
          {"Image",
           fmt::format("{} x {} of {} x {}", basic.width, basic.height, basic.maxWidth, basic.maxHeight)},
          {"Offset", fmt::format("{}, {}", basic.offsetX, basic.offsetY)},
          {"Binning", fmt::format("{} x {}", basic.binningHorizontal, basic.binningVertical)},
          {"Pixels", pixelFormat_}};
}

}  // namespace vireo::host

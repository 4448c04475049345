// SPDX-License-Identifier: MIT
#include "view/live_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "parameters/basic_parameters.h"
#include "parameters/names.h"
#include "pictures/png.h"
#include "terminal/console.h"
#include "view/preview.h"

namespace vireo::host {
namespace {

constexpr std::size_t widestPicture = 1024;  // pixels
constexpr std::chrono::seconds changeTimeout(20);

// What everybody adjusts, under the names that cameras have for it: the first one of a row that can be
// written.
using Names = std::vector<const char*>;
const std::array<Names, 3> liveNames = {{
    {"ExposureTime", "ExposureTimeAbs", "ExposureTimeRaw", "ExposureValue", "Shutter"},
    {"Gain", "GainAbs", "GainRaw"},
    {"AcquisitionFrameRate", "AcquisitionFrameRateAbs", "AcquisitionFrameRateRaw", "FrameRate"},
}};
const Names triggerNames = {"TriggerMode"};

bool isLive(const std::string& name) {
  const auto holds = [&](const Names& names) { return std::count(names.begin(), names.end(), name) != 0; };
  return std::any_of(liveNames.begin(), liveNames.end(), holds);
}

Json parameterJson(Camera& camera, const common::Parameter& parameter) {
  const common::ParameterMetadata& metadata = *parameter.metadata;
  const IntegerForm form = FormOf(camera.Features(), parameter);
  const Json value =
      IsWhole(parameter, form) ? ValueToJson(parameter, form) : Json(ShownText(parameter, form));
  Json json = {{"name", parameter.name}, {"value", value}, {"unit", metadata.unit}};
  if (metadata.min) json["min"] = *metadata.min;
  if (metadata.max) json["max"] = *metadata.max;
  if (!metadata.entries.empty()) json["entries"] = metadata.entries;
  if (std::holds_alternative<bool>(parameter.value)) json["entries"] = {"true", "false"};
  return json;
}

std::string titleOf(Camera& camera) {
  constexpr const char* address = "GevCurrentIPAddress";
  if (!camera.Catalogue().contains(address)) return camera.Name();
  const common::Parameter read = camera.Adapter().Read(address);
  if (read.value == common::ParameterValue(0)) return camera.Name();  // not on a network
  const IntegerForm form{IntegerForm::Bits::Unsigned, IntegerForm::Notation::Ipv4};
  return fmt::format("{} at {}", camera.Name(), ShownText(read, form));
}

}  // namespace

LiveView::LiveView(Camera& camera) : camera_(camera), writer_(camera), title_(titleOf(camera)) {
  showParameters(writer_.LastScan());
}

void LiveView::Take(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
  const std::lock_guard lock(mutex_);
  frame_.buffer.resize(buffer.size());
  std::swap(frame_.buffer, buffer);
  frame_.info = info;
  ++frame_.index;
}

void LiveView::Take(const FrameStream& stream) {
  const bool silent = !stream.Silence().empty();
  const std::lock_guard lock(mutex_);
  statistics_ = stream.Statistics();
  trouble_ = silent ? stream.SilenceFailure().what() : "";
}

void LiveView::End(const Failure& failure) {
  const std::lock_guard lock(mutex_);
  trouble_ = failure.what();
  ended_ = failure;
  changed_.notify_all();
}

void LiveView::Resume() {
  std::vector<std::pair<std::string, Json>> changes;
  {
    const std::lock_guard lock(mutex_);
    changes.swap(changes_);
    frame_.index = 0;
  }
  for (const auto& [name, value] : changes) {
    try {
      write(name, value);
    } catch (const std::runtime_error& error) {
      camera_.CheckLink();
      PrintError(fmt::format("note: the camera is there again, but not as before: {}", error.what()));
    }
  }
  const std::lock_guard control(camera_.Control());
  showParameters(writer_.Scan());
  const std::lock_guard lock(mutex_);
  ended_.reset();
}

bool LiveView::ChangeWaits() const {
  const std::lock_guard lock(mutex_);
  return request_ != nullptr;
}

void LiveView::Change() {
  Request request;
  {
    const std::lock_guard lock(mutex_);
    if (request_ == nullptr) return;
    request = *request_;
  }
  try {
    write(request.name, request.value);
  } catch (const std::exception& error) {
    request.failure = camera_.FailureBehind(error);
  }
  request.done = true;
  const std::lock_guard lock(mutex_);
  if (request_ != nullptr) *std::exchange(request_, nullptr) = std::move(request);
  frame_.index = 0;  // the frame of before may be of another size and format
  changed_.notify_all();
}

LiveView::Shown LiveView::newest() const {
  const std::lock_guard lock(mutex_);
  if (frame_.index == 0) throw std::runtime_error(trouble_.empty() ? "no frame yet" : trouble_);
  if (!layout_) {
    throw std::runtime_error(
        fmt::format("{} frames are not a plain picture: choose another PixelFormat", pixelFormat_.name));
  }
  return {frame_, *layout_};
}

Picture LiveView::newestPicture() const {
  const Shown shown = newest();
  return Develop(shown.layout, shown.frame);
}

std::vector<unsigned char> LiveView::Preview(bool markSaturated) const {
  const Picture picture = newestPicture();
  const Picture small = host::Preview(picture, widestPicture);
  return EncodePng(markSaturated ? MarkSaturated(small, picture, widestPicture) : small);
}

std::vector<unsigned char> LiveView::Png() const {
  return EncodePng(newestPicture());
}

Json LiveView::State(std::optional<PixelPlace> pixel) const {
  Json histogram = Json::array();
  Json samples;
  std::string trouble;
  std::optional<common::FrameInfo> shownInfo;
  try {
    const Shown shown = newest();
    shownInfo = shown.frame.info;
    histogram = Histogram(Develop(shown.layout, shown.frame));
    if (pixel) samples = pixelJson(shown, *pixel);
  } catch (const std::runtime_error& error) {  // the page shows an empty histogram
    trouble = error.what();
  }
  const std::lock_guard lock(mutex_);
  // A newer frame may have come since: the id is that of the frame that the histogram is of.
  const common::FrameInfo& info = shownInfo ? *shownInfo : frame_.info;
  const auto rates = statistics_.LatestRates(StreamStatistics::Clock::now());
  return {{"camera", title_},
          {"trouble", trouble_.empty() ? trouble : trouble_},
          {"frame_id", info.frameId},
          {"width", info.width},
          {"height", info.height},
          {"frames", statistics_.Frames()},
          {"frames_per_second", rates.frames},
          {"megabytes_per_second", rates.megabytes},
          {"lost", statistics_.Lost()},
          {"bad", statistics_.Bad()},
          {"histogram", histogram},
          {"pixel", samples},
          {"basic", basic_},
          {"adjustable", adjustableJson()}};
}

// The numbers of the camera: of a Bayer sensor one, not the colours that were made of it.
Json LiveView::pixelJson(const Shown& shown, PixelPlace place) {
  const common::FrameInfo& info = shown.frame.info;
  const Picture picture = Unpack(shown.layout, static_cast<std::size_t>(info.width),
                                 static_cast<std::size_t>(info.height), shown.frame.Bytes());
  if (place.x >= picture.width || place.y >= picture.height) return {};
  const auto first = picture.samples.begin() +
                     static_cast<std::ptrdiff_t>((place.y * picture.width + place.x) * picture.channels);
  return {{"x", place.x},
          {"y", place.y},
          {"samples", std::vector(first, first + static_cast<std::ptrdiff_t>(picture.channels))},
          {"highest", (1u << picture.bits) - 1}};
}

Json LiveView::adjustableJson() const {
  Json list = Json::array();
  for (const std::string& name : adjustable_) list.push_back(writable_.at(name));
  return list;
}

Json LiveView::Writable() const {
  const std::lock_guard lock(mutex_);
  Json list = Json::array();
  for (const auto& [name, parameter] : writable_) list.push_back(parameter);
  return list;
}

void LiveView::Set(const std::string& name, const Json& value) {
  std::unique_lock lock(mutex_);
  if (ended_) throw Failure(*ended_);
  if (isLive(name)) {
    lock.unlock();
    return write(name, value);
  }
  Request request{name, value, std::nullopt, false};
  if (!changed_.wait_for(lock, changeTimeout, [&] { return request_ == nullptr; }))
    throw Failure(ExitStatus::Failed, "another change is not done yet: try again");
  request_ = &request;
  const bool inTime = changed_.wait_for(lock, changeTimeout, [&] { return request.done || ended_; });
  if (!request.done) request_ = nullptr;
  if (ended_) throw Failure(*ended_);
  if (!inTime) {
    throw Failure(ExitStatus::Failed, fmt::format("{} is not changed: the camera does not answer", name));
  }
  if (request.failure) throw Failure(*request.failure);
}

void LiveView::write(const std::string& name, const Json& value) {
  const std::lock_guard control(camera_.Control());
  RequireParameter(camera_, name);
  const common::Parameter& like = camera_.Catalogue().at(name);
  writer_.WriteInOrder({ParseJson(like, value, FormOf(camera_.Features(), like))}).Require();
  showParameters(writer_.Scan());
  const std::lock_guard lock(mutex_);
  if (changes_.empty() || changes_.back().first != name) changes_.emplace_back(name, value);
  changes_.back().second = value;
}

void LiveView::showParameters(const ParametersByName& scanned) {
  std::map<std::string, Json> writable;
  for (const auto& [name, parameter] : scanned) {
    if (parameter.metadata->writable && IsAvailable(camera_.Nodes(), name))
      writable[name] = parameterJson(camera_, parameter);
  }
  std::vector<std::string> adjustable;
  const auto addFirst = [&](const Names& names) {
    const auto has = [&](const char* name) { return writable.contains(name); };
    const auto name = std::find_if(names.begin(), names.end(), has);
    if (name != names.end()) adjustable.emplace_back(*name);
  };
  for (const Names& names : liveNames) addFirst(names);
  addFirst(triggerNames);
  const PixelFormat pixelFormat = PixelFormatOf(camera_);
  Json basic = Json::object();
  for (const auto& [title, text] : ShownBasics(camera_, pixelFormat.name)) {
    basic[title] = text;
  }
  const std::lock_guard lock(mutex_);
  writable_ = std::move(writable);
  adjustable_ = std::move(adjustable);
  basic_ = std::move(basic);
  pixelFormat_ = pixelFormat;
  layout_ = LayoutOf(pixelFormat);
}

}  // namespace vireo::host

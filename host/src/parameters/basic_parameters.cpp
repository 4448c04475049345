// SPDX-License-Identifier: MIT
#include "parameters/basic_parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "parameters/values.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

// Whether the camera has all of the parameters and gives their values.
bool givesAll(Camera& camera, const std::vector<std::string>& names) {
  return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
    const auto found = camera.Catalogue().find(name);
    if (found == camera.Catalogue().end()) return false;
    common::Parameter parameter = found->second;
    return ReadInto(camera, parameter).empty();
  });
}

// What fills all 32 bits is the range of a register, not a size.
bool isSize(std::uint32_t pixels) {
  return pixels > 0 && pixels < std::numeric_limits<std::uint32_t>::max();
}

std::string imageText(const common::BasicParams& basic) {
  const std::string size = fmt::format("{} x {} pixels", basic.width, basic.height);
  if (!isSize(basic.maxWidth) || !isSize(basic.maxHeight)) return size;
  return fmt::format("{} of at most {} x {}", size, basic.maxWidth, basic.maxHeight);
}

}  // namespace

std::vector<std::pair<std::string, std::string>> ShownBasics(Camera& camera, const std::string& pixelFormat) {
  const common::BasicParams basic = camera.Adapter().GetBasicParams();
  std::vector<std::pair<std::string, std::string>> shown;
  const auto add = [&](const char* title, std::string text, const std::vector<std::string>& parameters) {
    if (givesAll(camera, parameters)) shown.emplace_back(title, std::move(text));
  };
  add("Exposure", fmt::format("{} ms", static_cast<float>(basic.exposureTime * 1e3)),
      {basic.exposureTimeParam});
  add("Frame rate", fmt::format("{} frames/s", static_cast<float>(basic.frameRate)), {basic.frameRateParam});
  add("Image", imageText(basic), {basic.widthParam, basic.heightParam});
  add("Offset", fmt::format("{}, {}", basic.offsetX, basic.offsetY),
      {basic.offsetXParam, basic.offsetYParam});
  add("Binning", fmt::format("{} x {}", basic.binningHorizontal, basic.binningVertical),
      {basic.binningHorizontalParam, basic.binningVerticalParam});
  if (pixelFormat.empty()) return shown;
  shown.emplace_back("Pixels", fmt::format("{}, {} each", pixelFormat, Counted(basic.pixelBytes, "byte")));
  if (isSize(basic.maxWidth) && isSize(basic.maxHeight))
    shown.emplace_back("Full frame", fmt::format("{:.2f} MB", static_cast<double>(basic.frameSize) / 1e6));
  return shown;
}

}  // namespace vireo::host

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
  if (!KnowsLargestImage(basic)) return size;
  return fmt::format("{} of at most {} x {}", size, basic.maxWidth, basic.maxHeight);
}

}  // namespace

bool KnowsLargestImage(const common::BasicParams& basic) {
  return isSize(basic.maxWidth) && isSize(basic.maxHeight);
}

std::vector<std::pair<std::string, std::string>> ShownBasics(Camera& camera, const std::string& pixelFormat) {
  using common::BasicParams;
  std::vector<std::pair<std::string, std::string>> shown;
  BasicParams basic = camera.Adapter().GetBasicParams();
  // The adapter's record has the values of the latest reads, 0 for one that failed: those of now count.
  const auto add = [&](const char* title, const std::vector<std::string>& parameters,
                       std::string (*text)(const BasicParams&)) {
    if (!givesAll(camera, parameters)) return;
    basic = camera.Adapter().GetBasicParams();
    shown.emplace_back(title, text(basic));
  };
  add("Exposure", {basic.exposureTimeParam}, [](const BasicParams& now) {
    return fmt::format("{} ms", static_cast<float>(now.exposureTime * 1e3));
  });
  add("Frame rate", {basic.frameRateParam},
      [](const BasicParams& now) { return fmt::format("{} frames/s", static_cast<float>(now.frameRate)); });
  add("Image", {basic.widthParam, basic.heightParam}, imageText);
  add("Offset", {basic.offsetXParam, basic.offsetYParam},
      [](const BasicParams& now) { return fmt::format("{}, {}", now.offsetX, now.offsetY); });
  add("Binning", {basic.binningHorizontalParam, basic.binningVerticalParam}, [](const BasicParams& now) {
    return fmt::format("{} x {}", now.binningHorizontal, now.binningVertical);
  });
  if (pixelFormat.empty()) return shown;
  shown.emplace_back("Pixels", fmt::format("{}, {} each", pixelFormat, Counted(basic.pixelBytes, "byte")));
  if (isSize(basic.maxWidth) && isSize(basic.maxHeight))
    shown.emplace_back("Full frame", fmt::format("{:.2f} MB", static_cast<double>(basic.frameSize) / 1e6));
  return shown;
}

}  // namespace vireo::host

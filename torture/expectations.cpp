// SPDX-License-Identifier: MIT
#include "torture/expectations.h"

#include <fmt/format.h>

#include <algorithm>
#include <regex>

#include "brio/fnd/record.h"
#include "simulator/usb/u3v_memory.h"

namespace vireo::torture {

using simulator::CameraModel;
namespace reg = simulator::reg;
namespace loglevel = brio::fnd::loglevel;

namespace {

struct Text {
  std::int32_t level;
  std::regex pattern;
};

std::regex own(const std::string& pattern) {
  return std::regex("GenICamAdapter: " + pattern, std::regex::optimize);
}

const std::vector<Text>& records() {
  static const std::vector<Text> texts = {
      {loglevel::Debug, own(R"(param '\w+' \(camera-native\))")},
      {loglevel::Debug, own(R"(failed to read (integer|float) '\w+': .+)")},
      {loglevel::Debug, own("device '.+' not found, retrying\\.\\.\\.")},
      {loglevel::Debug, own("TLParamsLocked (cleared|unlock: .+)")},
      {loglevel::Debug, own(R"(wrote '\w+' = '.+')")},
      {loglevel::Debug, own(R"(pushed 10 buffers \([1-9]\d* bytes each\))")},
      {loglevel::Debug, own(R"(buffer status=\d+, recycling)")},
      {loglevel::Debug,
       std::regex("(entry .* of feature|feature|range of feature) '.*' (stands alone|is left out): .+")},
      {loglevel::Info, own("connecting to '.+'")},
      {loglevel::Info, own(R"(parsed \d+ nodes from device XML)")},
      {loglevel::Info, own(R"(connected, \d+ nodes, payload=\d+ bytes)")},
      {loglevel::Info, own(R"(payload changed to \d+ bytes, recreating stream)")},
      {loglevel::Info, own("stream created")},
      {loglevel::Info, own(R"(starting (continuous acquisition|finite acquisition \(\d+ frames\)))")},
      {loglevel::Info, own(R"(finite acquisition complete \(\d+ frames\))")},
      {loglevel::Info, own("acquisition stopped")},
      {loglevel::Warning, own("no GenICam XML from device")},
      {loglevel::Warning, own("camera control lost")},
      {loglevel::Warning, own("AcquisitionStop error: .+")},
      {loglevel::Error, std::regex("(Create stream|Execute AcquisitionStart): .+")},
      {loglevel::Error, own(R"(frame too large \(\d+ > \d+\))")},
  };
  return texts;
}

bool anyMatches(const std::vector<std::regex>& patterns, const std::string& text) {
  return std::ranges::any_of(patterns, [&](const auto& pattern) { return std::regex_match(text, pattern); });
}

}  // namespace

bool IsKnownError(const std::string& text, bool isConnected) {
  static const std::vector<std::regex> always = {
      own("not connected"),
      own("failed to create stream"),
      own("camera control lost, no stream is created"),
      own("the camera states a PayloadSize of 0, no stream is created"),
      own("no memory for a frame buffer of .+"),
      std::regex(R"((Read|Write) (integer|float|boolean|string|enum) '\w+': .+)"),
      std::regex(R"(Execute command '\w+': .+)"),
      std::regex("(Create stream|Execute AcquisitionStart): .+"),
      // Of a description that did not come whole:
      std::regex(R"(Parameter not found: \w+)"),
      std::regex(R"(Parameter '\w+' is read-only)"),
      std::regex(R"(Unsupported node type for (read|write): \w+)"),
  };
  static const std::vector<std::regex> connecting = {
      own("connection timeout(: .+)?"),
      std::regex("camera description: .+"),
  };
  return anyMatches(always, text) || (!isConnected && anyMatches(connecting, text));
}

bool IsKnownRecord(std::int32_t level, const std::string& message) {
  return std::ranges::any_of(records(), [&](const Text& text) {
    return text.level == level && std::regex_match(message, text.pattern);
  });
}

bool IsReport(const std::string& message) {
  static const std::vector<std::regex> reports = {
      own("(failed to read|TLParamsLocked unlock|buffer status|no GenICam XML|AcquisitionStop error|frame "
          "too).*")};
  return anyMatches(reports, message);
}

std::string ExpectedValue(const std::string& feature, const CameraModel& model) {
  static const std::pair<const char*, std::uint64_t> numbers[] = {
      {"Width", reg::width},
      {"Height", reg::height},
      {"OffsetX", reg::offsetX},
      {"BinningHorizontal", reg::binningHorizontal},
      {"SensorWidth", reg::sensorWidth},
      {"AcquisitionFrameCount", reg::acquisitionFrameCount},
      {"ExposureTime", reg::exposureTime},
      {"Gain", reg::gain},
  };
  for (const auto& [name, address] : numbers)
    if (feature == name) return fmt::format("{}", static_cast<float>(model.Register(address)));
  if (feature == "PayloadSize") return fmt::format("{}", model.PayloadSize());
  if (feature == "DeviceModelName") return "SimulatedCamera";
  if (feature == "PixelFormat" && model.Register(reg::pixelFormat) == 0x01080001) return "Mono8";
  return "";
}

bool IsDescriptionOf(const std::string& text, const CameraModel& model) {
  const std::string& served = model.Description().text;
  return text == served || text == simulator::MoveRegisters(served, simulator::U3vMemory::modelWindow);
}

std::string FaultOfFrame(const CameraModel& model, std::span<const std::uint8_t> memory,
                         const common::FrameInfo& info) {
  const simulator::PictureSettings settings = model.Picture();
  if (static_cast<std::uint32_t>(info.width) != settings.width ||
      static_cast<std::uint32_t>(info.height) != settings.height)
    return fmt::format("it says {} x {} instead of {} x {}", info.width, info.height, settings.width,
                       settings.height);
  simulator::Bytes image;
  simulator::FillPicture(settings, info.frameId, image);
  if (info.size != image.size()) return fmt::format("{} bytes instead of {}", info.size, image.size());
  const std::ptrdiff_t same = std::mismatch(image.begin(), image.end(), memory.begin()).first - image.begin();
  if (same == std::ssize(image)) return "";
  return fmt::format("byte {} is {} instead of {}", same, memory[static_cast<std::size_t>(same)],
                     image[static_cast<std::size_t>(same)]);
}

}  // namespace vireo::torture

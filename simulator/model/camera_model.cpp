// SPDX-License-Identifier: MIT
#include "simulator/model/camera_model.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <utility>

namespace vireo::simulator {
namespace {

using std::chrono::microseconds;

constexpr std::uint32_t sensorSize = 2048;
constexpr std::uint32_t singleFrame = 2;
constexpr std::uint32_t multiFrame = 3;
constexpr std::uint32_t softwareSource = 1;

struct Bounds {
  std::uint64_t address;
  std::uint32_t initial;
  std::uint32_t least;
  std::uint32_t most;
  std::uint32_t step = 1;
};

// The registers whose values the sensor depends on.
constexpr Bounds bounds[] = {
    {reg::width, 512, 8, sensorSize, 8},
    {reg::height, 512, 8, sensorSize, 8},
    {reg::binningHorizontal, 1, 1, 4},
    {reg::binningVertical, 1, 1, 4},
    {reg::offsetX, 0, 0, sensorSize - 8},
    {reg::offsetY, 0, 0, sensorSize - 8},
    {reg::gain, 0, 0, 10},
    {reg::gainAuto, 1, 1, 3},
    {reg::exposureTime, 10000, 10, 10000000},
    {reg::framePeriod, 40000, 0, 10000000},
    {reg::throughputLimitMode, 0, 0, 1},
    {reg::throughputLimit, 125'000'000, 100'000, 125'000'000},
    {reg::acquisitionMode, 1, 1, multiFrame},
    {reg::acquisitionFrameCount, 1, 1, 65535},
};

constexpr std::uint64_t readOnly[] = {reg::sensorWidth, reg::sensorHeight};

bool touches(std::uint64_t address, std::size_t size, std::uint64_t registerAddress) {
  return address < registerAddress + 4 && address + size > registerAddress;
}

}  // namespace

CameraDescription ReadDescription(const std::string& path, bool isOurs) {
  std::ifstream file(path, std::ios::binary);
  CameraDescription description{
      std::filesystem::path(path).filename().string(), {std::istreambuf_iterator<char>(file), {}}, isOurs};
  if (!file.is_open() || description.text.empty())
    throw std::runtime_error("the camera description " + path + " cannot be read, or is empty");
  return description;
}

CameraModel::CameraModel(CameraDescription description, const CameraIdentity& identity)
    : description_(std::move(description)),
      memory_(description_.isOurs ? reg::memoryEnd : std::numeric_limits<std::uint64_t>::max()) {
  memory_.MapText(descriptionAddress, description_.text);
  memory_.SetText(reg::vendorName, 32, identity.vendor);
  memory_.SetText(reg::modelName, 32, identity.model);
  memory_.SetText(reg::deviceVersion, 32, identity.version);
  memory_.SetText(reg::manufacturerInfo, 48, "simulated");
  memory_.SetText(reg::serialNumber, 16, identity.serial);
  if (!description_.isOurs) return;
  for (const Bounds& row : bounds) memory_.Set(row.address, row.initial);
  memory_.Set(reg::sensorWidth, sensorSize);
  memory_.Set(reg::sensorHeight, sensorSize);
  memory_.Set(reg::pixelFormat, 0x01080001);
}

Status CameraModel::Read(std::uint64_t address, std::span<std::uint8_t> into) const {
  const std::lock_guard lock(mutex_);
  return memory_.Read(address, into);
}

Status CameraModel::Write(std::uint64_t address, ByteView bytes) {
  const std::lock_guard lock(mutex_);
  if (description_.isOurs) {
    const auto isTouched = [&](std::uint64_t where) { return touches(address, bytes.size(), where); };
    if (std::ranges::any_of(readOnly, isTouched)) return Status::WriteProtect;
    if (!isInBounds(address, bytes)) return Status::InvalidParameter;
  }
  const Status status = memory_.Write(address, bytes);
  if (status == Status::Success && description_.isOurs) act(address, bytes.size());
  return status;
}

// Judges the values that a write would leave in the sensor's registers.
bool CameraModel::isInBounds(std::uint64_t address, ByteView bytes) const {
  const auto valueAfter = [&](std::uint64_t where) {
    std::uint32_t value = get(where);
    for (std::size_t i = 0; i < 4; ++i) {
      if (where + i < address || where + i >= address + bytes.size()) continue;
      const std::size_t shift = 8 * (3 - i);
      value = (value & ~(0xffu << shift)) | std::uint32_t{bytes[where + i - address]} << shift;
    }
    return value;
  };
  for (const Bounds& row : bounds) {
    if (!touches(address, bytes.size(), row.address)) continue;
    const std::uint32_t value = valueAfter(row.address);
    if (value < row.least || value > row.most || value % row.step != 0) return false;
  }
  return !touches(address, bytes.size(), reg::pixelFormat) || IsSupported(valueAfter(reg::pixelFormat));
}

void CameraModel::act(std::uint64_t address, std::size_t size) {
  if (touches(address, size, reg::acquisition)) {
    if (get(reg::acquisition) == 1) startAcquisition();
    if (get(reg::acquisition) == 0) isAcquiring_ = false;
  }
  if (touches(address, size, reg::triggerSoftware)) fireSoftwareTrigger();
  changed_.notify_all();
}

void CameraModel::startAcquisition() {
  isAcquiring_ = true;
  isWaitingForStart_ = hasTrigger(reg::acquisitionStartTrigger);
  triggered_.reset();
  framesLeft_.reset();
  if (get(reg::acquisitionMode) == singleFrame) framesLeft_ = 1;
  if (get(reg::acquisitionMode) == multiFrame) framesLeft_ = get(reg::acquisitionFrameCount);
  lastFrame_ = Clock::now();
}

bool CameraModel::hasTrigger(std::uint64_t trigger) const {
  return get(reg::triggerMode + trigger) == 1;
}

void CameraModel::fireSoftwareTrigger() {
  const auto listens = [&](std::uint64_t trigger) {
    return hasTrigger(trigger) && get(reg::triggerSource + trigger) == softwareSource;
  };
  if (!isAcquiring_) return;
  if (isWaitingForStart_ && listens(reg::acquisitionStartTrigger)) {
    isWaitingForStart_ = false;
    lastFrame_ = Clock::now();
  } else if (!isWaitingForStart_ && listens(0)) {
    triggered_ = Clock::now();
  }
}

// The time that a frame takes under the throughput limit.
microseconds CameraModel::sendingTime() const {
  if (get(reg::throughputLimitMode) == 0) return microseconds(0);
  return microseconds(1'000'000 * pictureSettings().ImageSize() / std::max(get(reg::throughputLimit), 1u));
}

// Nothing when no frame comes by itself.
std::optional<Clock::time_point> CameraModel::nextDue() const {
  if (!isAcquiring_ || isWaitingForStart_) return {};
  const microseconds exposure(get(reg::exposureTime));
  if (hasTrigger(0)) return triggered_ ? std::optional(*triggered_ + exposure) : std::nullopt;
  return lastFrame_ + std::max({microseconds(get(reg::framePeriod)), exposure, sendingTime()});
}

void CameraModel::take(Clock::time_point due) {
  // Lateness of a few frames is made up for, so that the rate is right in the long run; more is given up.
  const auto now = Clock::now();
  lastFrame_ = now - due > 4 * (due - lastFrame_) ? now : due;
  triggered_.reset();
  if (framesLeft_ && --*framesLeft_ == 0) isAcquiring_ = false;
}

PictureSettings CameraModel::pictureSettings() const {
  // Behind the back of its clients a register can hold anything.
  const auto size = [&](std::uint64_t address) { return std::clamp(get(address), 1u, sensorSize); };
  const std::uint32_t format = get(reg::pixelFormat);
  return {size(reg::width),
          size(reg::height),
          get(reg::offsetX),
          get(reg::offsetY),
          IsSupported(format) ? format : 0x01080001,
          (1.0 + get(reg::gain)) * get(reg::exposureTime) / 10000.0};
}

std::optional<Exposure> CameraModel::WaitForFrame(Clock::time_point until) {
  std::unique_lock lock(mutex_);
  auto due = nextDue();
  while (!due || *due > Clock::now()) {
    if (Clock::now() >= until) return {};
    changed_.wait_until(lock, due ? std::min(*due, until) : until);
    due = nextDue();
  }
  take(*due);
  return Exposure{pictureSettings(), Timestamp()};
}

std::uint32_t CameraModel::Register(std::uint64_t address) const {
  const std::lock_guard lock(mutex_);
  return get(address);
}

void CameraModel::SetRegister(std::uint64_t address, std::uint32_t value) {
  const std::lock_guard lock(mutex_);
  memory_.Set(address, value);
  if (description_.isOurs) act(address, 4);
}

void CameraModel::SetText(std::uint64_t address, std::size_t size, const std::string& text) {
  const std::lock_guard lock(mutex_);
  memory_.SetText(address, size, text);
}

void CameraModel::StopAcquisition() {
  const std::lock_guard lock(mutex_);
  isAcquiring_ = false;
  changed_.notify_all();
}

PictureSettings CameraModel::Picture() const {
  const std::lock_guard lock(mutex_);
  return pictureSettings();
}

std::size_t CameraModel::PayloadSize() const {
  const std::lock_guard lock(mutex_);
  return description_.isOurs ? pictureSettings().ImageSize() : 0;
}

std::size_t CameraModel::MemorySize() const {
  const std::lock_guard lock(mutex_);
  return memory_.Size();
}

std::uint64_t CameraModel::Timestamp() const {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - made_).count());
}

}  // namespace vireo::simulator

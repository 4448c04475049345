// SPDX-License-Identifier: MIT
#include "simulator/usb/u3v_memory.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <string_view>

namespace vireo::simulator {
namespace {

// Technology-agnostic bootstrap register map.
constexpr std::uint64_t genCpVersion = 0x000;
constexpr std::uint64_t manufacturer = 0x004;  // texts of 64 bytes
constexpr std::uint64_t model = 0x044;
constexpr std::uint64_t family = 0x084;
constexpr std::uint64_t deviceVersion = 0x0c4;
constexpr std::uint64_t serialNumber = 0x144;
constexpr std::uint64_t userName = 0x184;
constexpr std::uint64_t userNameEnd = 0x1c4;
constexpr std::uint64_t maxResponseTime = 0x1cc;
constexpr std::uint64_t manifestAddress = 0x1d0;
constexpr std::uint64_t sbrmAddress = 0x1d8;
// USB3 Vision's registers, and those of its stream.
constexpr std::uint64_t sbrm = 0x10000;
constexpr std::uint64_t sirm = 0x20000;
constexpr std::uint64_t sirmSize = 0x30;
constexpr std::uint64_t streamControl = sirm + 0x04;
constexpr std::uint64_t requiredPayload = sirm + 0x08;
constexpr std::uint64_t requiredLeader = sirm + 0x10;
constexpr std::uint64_t requiredTrailer = sirm + 0x14;
constexpr std::uint64_t maxLeader = sirm + 0x18;
constexpr std::uint64_t payloadTransferSize = sirm + 0x1c;
constexpr std::uint64_t manifest = 0x30000;
constexpr std::uint64_t end = 0x40000;

constexpr std::size_t textSize = 64;

bool liesWithin(std::uint64_t address, std::size_t size, std::uint64_t first, std::uint64_t behind) {
  return address >= first && size <= behind - first && address - first <= behind - first - size;
}

std::uint64_t addressIn(const std::string& text) {
  std::size_t used = 0;
  try {
    const std::uint64_t address = std::stoull(text, &used, 0);
    if (text.find_first_not_of(" \t\r\n", used) == text.npos) return address;
  } catch (const std::logic_error&) {  // not a number, or too large a one
  }
  throw std::runtime_error("the description's address '" + text + "' is not a number");
}

}  // namespace

std::string MoveRegisters(const std::string& description, std::uint64_t offset) {
  constexpr std::string_view tag = "<Address>";
  std::string moved;
  std::size_t done = 0;
  for (std::size_t at = 0; (at = description.find(tag, done)) != description.npos;) {
    const std::size_t number = at + tag.size();
    const std::size_t behind = std::min(description.find('<', number), description.size());
    const std::uint64_t address = addressIn(description.substr(number, behind - number));
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "0x%" PRIx64, address + offset);
    moved.append(description, done, number - done).append(text.data());
    done = behind;
  }
  return moved.append(description, done);
}

U3vMemory::U3vMemory(CameraModel& camera, const CameraIdentity& identity) : model_(camera), memory_(end) {
  const std::string description = MoveRegisters(camera.Description().text, modelWindow);
  memory_.MapText(CameraModel::descriptionAddress, description);
  set(genCpVersion, std::uint32_t{0x00010000});
  memory_.SetText(manufacturer, textSize, identity.vendor);
  memory_.SetText(model, textSize, identity.model);
  memory_.SetText(family, textSize, identity.model);
  memory_.SetText(deviceVersion, textSize, identity.version);
  memory_.SetText(serialNumber, textSize, identity.serial);
  set(maxResponseTime, std::uint32_t{200});
  set(manifestAddress, manifest);
  set(sbrmAddress, sbrm);
  set(sbrm, std::uint32_t{0x00010000});
  set(sbrm + 0x04, std::uint64_t{1});  // it streams
  set(sbrm + 0x14, maxCommand);
  set(sbrm + 0x18, maxAcknowledge);
  set(sbrm + 0x1c, std::uint32_t{1});  // stream channels
  set(sbrm + 0x20, sirm);
  set(sbrm + 0x28, static_cast<std::uint32_t>(sirmSize));
  set(requiredLeader, std::uint32_t{52});
  set(requiredTrailer, std::uint32_t{32});
  set(manifest, std::uint64_t{1});                  // entries
  set(manifest + 0x08, std::uint32_t{0x01010000});  // the description's schema 1.1, not compressed
  set(manifest + 0x10, CameraModel::descriptionAddress);
  set(manifest + 0x18, static_cast<std::uint64_t>(description.size()));
}

template <std::unsigned_integral Number>
void U3vMemory::set(std::uint64_t address, Number value) {
  std::array<std::uint8_t, sizeof value> bytes{};
  WriteNumber<std::endian::little>(bytes, 0, value);
  memory_.Write(address, bytes);
}

std::uint32_t U3vMemory::get(std::uint64_t address) const {
  std::array<std::uint8_t, 4> bytes{};
  memory_.Read(address, bytes);
  return ReadNumber<std::endian::little, std::uint32_t>(bytes, 0);
}

Status U3vMemory::Read(std::uint64_t address, std::span<std::uint8_t> into) {
  if (liesWithin(address, into.size(), modelWindow, modelWindow + reg::memoryEnd))
    return model_.Read(address - modelWindow, into);
  const std::lock_guard lock(mutex_);
  set(requiredPayload, static_cast<std::uint64_t>(model_.PayloadSize()));
  return memory_.Read(address, into);
}

Status U3vMemory::Write(std::uint64_t address, ByteView bytes) {
  if (liesWithin(address, bytes.size(), modelWindow, modelWindow + reg::memoryEnd)) {
    const bool isIdentity = address - modelWindow < reg::userName;
    return isIdentity ? Status::WriteProtect : model_.Write(address - modelWindow, bytes);
  }
  const bool isControl = address == streamControl && bytes.size() == 4;
  const bool isWritable = isControl || liesWithin(address, bytes.size(), userName, userNameEnd) ||
                          liesWithin(address, bytes.size(), maxLeader, sirm + sirmSize);
  const std::lock_guard lock(mutex_);
  if (!isWritable) {
    Bytes ignored(bytes.size());
    const Status there = memory_.Read(address, ignored);
    return there == Status::Success ? Status::WriteProtect : there;
  }
  const Status status = memory_.Write(address, bytes);
  if (isControl && (get(streamControl) & 1) != 0) ++runs_;
  return status;
}

U3vStreamSettings U3vMemory::StreamSettings() const {
  const std::lock_guard lock(mutex_);
  return {(get(streamControl) & 1) != 0, runs_, get(payloadTransferSize)};
}

}  // namespace vireo::simulator

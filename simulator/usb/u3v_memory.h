// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>

#include "simulator/model/camera_model.h"

namespace vireo::simulator {

/// How the client wants a frame's transfers.
struct U3vStreamSettings {
  bool isEnabled = false;
  std::uint32_t runs = 0;         // how often the stream was enabled
  std::uint32_t payloadSize = 0;  // bytes of a payload transfer
};

/// The address space of a USB3 Vision camera: the technology-agnostic bootstrap registers at 0, those of USB3
/// Vision and of its stream, the manifest, and the description that it points to. Numbers are little endian.
///
/// The model's registers, which lie where GigE Vision wants them, would collide with these. They are moved up
/// by `modelWindow`, in the description too, where they keep their byte order. Any thread.
class U3vMemory {
 public:
  static constexpr std::uint64_t modelWindow = 0x01000000;
  static constexpr std::uint32_t maxCommand = 1032;      // bytes
  static constexpr std::uint32_t maxAcknowledge = 1024;  // bytes

  /// The model, which must serve our own description, must outlive this object.
  U3vMemory(CameraModel& model, const CameraIdentity& identity);

  Status Read(std::uint64_t address, std::span<std::uint8_t> into);
  Status Write(std::uint64_t address, ByteView bytes);
  U3vStreamSettings StreamSettings() const;

 private:
  template <std::unsigned_integral Number>
  void set(std::uint64_t address, Number value);
  std::uint32_t get(std::uint64_t address) const;

  CameraModel& model_;
  mutable std::mutex mutex_;  // for the rest
  RegisterMemory memory_;
  std::uint32_t runs_ = 0;
};

/// The description with the addresses of all its registers moved up.
std::string MoveRegisters(const std::string& description, std::uint64_t offset);

}  // namespace vireo::simulator

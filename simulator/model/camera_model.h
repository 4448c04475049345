// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "simulator/model/picture_source.h"
#include "simulator/model/register_memory.h"
#include "simulator/model/registers.h"

namespace vireo::simulator {

using Clock = std::chrono::steady_clock;

/// What the camera tells of itself.
struct CameraIdentity {
  std::string vendor = "Vireo";
  std::string model = "SimulatedCamera";
  std::string version = "1.0";
  std::string serial = "SIM01";
};

/// The description that a camera serves.
struct CameraDescription {
  std::string fileName;
  std::string text;
  /// Ours gives the registers in registers.h their meaning: bounds are kept, and the camera acquires. With
  /// any other one every address is memory, and nothing is ever acquired.
  bool isOurs = true;
};

/// Reads a description from a file. Throws std::runtime_error when it cannot be read or is empty.
CameraDescription ReadDescription(const std::string& path, bool isOurs);

/// A frame that is due, before its picture is made.
struct Exposure {
  PictureSettings picture;
  std::uint64_t timestamp = 0;  // nanoseconds since the camera was made
};

struct Frame {
  Exposure exposure;
  Bytes image;
};

/// A camera without a wire: registers, and a sensor that they drive. A transport gives it addresses to read
/// and write, and takes frames from it. Any thread may call anything.
///
/// An acquisition is a rule for when the next frame is due: one period after the last one, the longer of
/// frame period and exposure; or, with the frame trigger on, one exposure after the trigger. A wait for a
/// frame looks at that rule anew whenever a register changed. A finite acquisition stops itself with its last
/// frame.
class CameraModel {
 public:
  CameraModel(CameraDescription description, const CameraIdentity& identity);
  CameraModel(const CameraModel&) = delete;
  CameraModel& operator=(const CameraModel&) = delete;

  const CameraDescription& Description() const { return description_; }
  /// Where a transport's URL or manifest finds the description, and how long it is.
  static constexpr std::uint64_t descriptionAddress = reg::description;
  std::size_t DescriptionSize() const { return description_.text.size(); }

  /// As a client does.
  Status Read(std::uint64_t address, std::span<std::uint8_t> into) const;
  Status Write(std::uint64_t address, ByteView bytes);

  /// As the camera itself does: no bounds are kept.
  std::uint32_t Register(std::uint64_t address) const;
  void SetRegister(std::uint64_t address, std::uint32_t value);
  void SetText(std::uint64_t address, std::size_t size, const std::string& text);

  /// Waits for the next frame, at most until `until`; nothing when none came.
  std::optional<Exposure> WaitForFrame(Clock::time_point until);
  void StopAcquisition();
  /// What a frame that is taken now is made of.
  PictureSettings Picture() const;
  /// Bytes of a frame with the settings of now.
  std::size_t PayloadSize() const;
  std::uint64_t Timestamp() const;
  /// Bytes that the registers take.
  std::size_t MemorySize() const;

 private:
  std::uint32_t get(std::uint64_t address) const { return memory_.Get(address); }
  bool isInBounds(std::uint64_t address, ByteView bytes) const;
  void act(std::uint64_t address, std::size_t size);
  void startAcquisition();
  void fireSoftwareTrigger();
  bool hasTrigger(std::uint64_t trigger) const;
  std::chrono::microseconds sendingTime() const;
  std::optional<Clock::time_point> nextDue() const;
  void take(Clock::time_point due);
  PictureSettings pictureSettings() const;

  const CameraDescription description_;
  const Clock::time_point made_ = Clock::now();
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  RegisterMemory memory_;
  bool isAcquiring_ = false;
  bool isWaitingForStart_ = false;              // for the trigger of the acquisition
  std::optional<Clock::time_point> triggered_;  // a trigger that no frame followed yet
  std::optional<std::uint32_t> framesLeft_;     // of a finite acquisition
  Clock::time_point lastFrame_;
};

}  // namespace vireo::simulator

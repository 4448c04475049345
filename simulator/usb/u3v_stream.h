// SPDX-License-Identifier: MIT
#pragma once

#include <deque>

#include "simulator/faults/fault_script.h"
#include "simulator/usb/u3v_memory.h"

namespace vireo::simulator {

/// How a request to an endpoint ended.
enum class UsbResult { Done, TimedOut, Overflow, NoDevice };

/// The stream endpoint of a USB3 Vision camera. A frame is a row of transfers: leader, the image in parts of
/// the size that the client has set, trailer. Nothing is sent until the client asks: a frame is taken when
/// the one before it is gone.
///
/// A request gets what is left of one transfer, at most what it has room for. A transfer goes in bus packets
/// of 1,024 bytes, so a request for other than a multiple of them that is too small overflows: the rest of
/// that packet is lost. One thread at a time.
class U3vStream {
 public:
  /// All must outlive the stream.
  U3vStream(CameraModel& model, U3vMemory& memory, FaultScript& faults)
      : model_(model), memory_(memory), faults_(faults) {}

  /// Waits for data, at most until `until`.
  UsbResult Read(std::span<std::uint8_t> into, std::size_t& received, Clock::time_point until);

 private:
  struct Transfer {
    Bytes head;     // leader and trailer, and a part of the image that is changed
    ByteView data;  // a part of the image
    std::size_t size = 0;
    Clock::time_point due;
    bool isLast = false;  // the camera is unplugged instead
  };

  void followSettings();
  void begin(const Exposure& exposure);
  void queue(Transfer transfer);
  Bytes leader(const Exposure& exposure) const;
  Bytes trailer(const Exposure& exposure) const;
  UsbResult take(std::span<std::uint8_t> into, std::size_t& received);

  CameraModel& model_;
  U3vMemory& memory_;
  FaultScript& faults_;
  U3vStreamSettings settings_;
  Frame frame_;
  std::uint64_t block_ = 0;
  std::deque<Transfer> transfers_;
  std::size_t taken_ = 0;  // bytes of the first one
};

}  // namespace vireo::simulator

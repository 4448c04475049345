// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "simulator/faults/fault_script.h"
#include "simulator/usb/gencp_server.h"
#include "simulator/usb/u3v_stream.h"

namespace vireo::simulator {

/// A USB3 Vision camera as its host controller sees it: two endpoints for commands and answers, one for the
/// stream. Requests come from the client's threads; the camera has none of its own. Control requests from any
/// thread, stream requests from one at a time.
class UsbCamera {
 public:
  /// Throws std::runtime_error when the description or the fault script cannot be read.
  UsbCamera(const std::string& descriptionFile, const std::string& faults, const CameraIdentity& identity);

  UsbResult SendCommand(ByteView command);
  /// Waits for an answer, at most until `until`. One that does not fit is lost.
  UsbResult ReceiveAnswer(std::span<std::uint8_t> into, std::size_t& received, Clock::time_point until);
  UsbResult ReceiveStream(std::span<std::uint8_t> into, std::size_t& received, Clock::time_point until);

  /// Pulls the plug, for good.
  void Unplug();
  bool IsPluggedIn() const { return isPluggedIn_; }
  void SetFaults(const std::string& script) { faults_.Set(script); }
  const FaultScript& Faults() const { return faults_; }
  CameraModel& Model() { return model_; }

 private:
  struct Answer {
    Bytes bytes;
    Clock::time_point due;
  };

  FaultScript faults_;
  CameraModel model_;
  U3vMemory memory_;
  GencpServer server_;
  U3vStream stream_;
  std::atomic<bool> isPluggedIn_{true};
  std::mutex mutex_;  // for commands and answers
  std::condition_variable changed_;
  std::deque<Answer> answers_;
};

}  // namespace vireo::simulator

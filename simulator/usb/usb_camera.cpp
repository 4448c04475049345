// SPDX-License-Identifier: MIT
#include "simulator/usb/usb_camera.h"

#include <algorithm>
#include <utility>

#include "simulator/faults/spoil.h"

namespace vireo::simulator {
namespace {

using std::chrono::milliseconds;

constexpr AcknowledgeLayout acknowledge = {.status = 4, .length = 8, .id = 10, .headerSize = 12};

constexpr std::size_t mostAnswers = 16;

// The sensor's registers have the meaning that our own description gives them.
CameraDescription ownDescription(const std::string& file) {
  CameraDescription description = ReadDescription(file, true);
  if (description.text.find("ModelName=\"SimulatedCamera\"") == std::string::npos)
    throw std::runtime_error(file + " does not describe the simulated camera: on USB it has no other");
  return description;
}

}  // namespace

UsbCamera::UsbCamera(const std::string& descriptionFile, const std::string& faults,
                     const CameraIdentity& identity)
    : faults_(faults),
      model_(ownDescription(descriptionFile), identity),
      memory_(model_, identity),
      server_(memory_),
      stream_(model_, memory_, faults_) {}

void UsbCamera::Unplug() {
  isPluggedIn_ = false;
  model_.StopAcquisition();
  changed_.notify_all();
}

UsbResult UsbCamera::SendCommand(ByteView command) {
  const std::lock_guard lock(mutex_);
  if (!isPluggedIn_) return UsbResult::NoDevice;
  Bytes answer = server_.Answer(command);
  if (answer.empty()) return UsbResult::Done;
  const Fault fault = faults_.Next(Channel::Command);
  if (fault.kind == Fault::Kind::Lost) return UsbResult::Done;
  if (fault.kind == Fault::Kind::Disconnect) {
    Unplug();
    return UsbResult::NoDevice;
  }
  const bool isPending = fault.kind == Fault::Kind::Pending;
  const auto now = Clock::now();
  if (isPending) answers_.push_back({GencpServer::PendingAcknowledge(command, fault.value + 200), now});
  if (fault.kind == Fault::Kind::Duplicate) answers_.push_back({answer, now});
  Spoil<std::endian::little>(answer, fault, acknowledge);
  const bool isLate = isPending || fault.kind == Fault::Kind::Late;
  answers_.push_back({std::move(answer), now + milliseconds(isLate ? fault.value : 0)});
  if (answers_.size() > mostAnswers) answers_.pop_front();  // nobody fetches them
  changed_.notify_all();
  return UsbResult::Done;
}

UsbResult UsbCamera::ReceiveAnswer(std::span<std::uint8_t> into, std::size_t& received,
                                   Clock::time_point until) {
  received = 0;
  std::unique_lock lock(mutex_);
  while (isPluggedIn_ && (answers_.empty() || answers_.front().due > Clock::now())) {
    if (Clock::now() >= until) return UsbResult::TimedOut;
    changed_.wait_until(lock, answers_.empty() ? until : std::min(until, answers_.front().due));
  }
  if (!isPluggedIn_) return UsbResult::NoDevice;
  const Bytes answer = std::move(answers_.front().bytes);
  answers_.pop_front();
  received = std::min(into.size(), answer.size());
  std::copy_n(answer.begin(), received, into.begin());
  return received < answer.size() ? UsbResult::Overflow : UsbResult::Done;
}

UsbResult UsbCamera::ReceiveStream(std::span<std::uint8_t> into, std::size_t& received,
                                   Clock::time_point until) {
  received = 0;
  if (!isPluggedIn_) return UsbResult::NoDevice;
  const UsbResult result = stream_.Read(into, received, until);
  if (result == UsbResult::NoDevice) Unplug();
  return isPluggedIn_ ? result : UsbResult::NoDevice;
}

}  // namespace vireo::simulator

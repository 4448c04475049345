// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <mutex>
#include <optional>

#include "simulator/model/camera_model.h"

namespace vireo::simulator {

/// An IPv4 address and a UDP port, in the host's byte order.
struct Endpoint {
  std::uint32_t address = 0;
  std::uint16_t port = 0;
  auto operator<=>(const Endpoint&) const = default;
};

/// A request for packets of a frame, both ends included.
struct ResendRequest {
  std::uint64_t block = 0;
  std::uint32_t firstPacket = 0;
  std::uint32_t lastPacket = 0;
};

/// What commands bring about outside of the registers.
class GvcpActions {
 public:
  virtual ~GvcpActions() = default;
  virtual void FireTestPacket() = 0;
  virtual void Resend(const ResendRequest& request) = 0;
  /// The camera moves to another address of its interface; false where it cannot.
  virtual bool ForceAddress(std::uint32_t address) = 0;
};

/// Where the camera's interface is.
struct GvcpIdentity {
  std::uint64_t mac = 0;  // 48 bits
  std::uint32_t address = 0;
  std::uint32_t subnetMask = 0;
  std::uint16_t streamSourcePort = 0;
};

/// The control channel of a GigE Vision camera, without its socket: a datagram in, an acknowledge out.
///
/// Silence is the answer to whatever is not a command: a wrong key, fewer bytes than a header, an
/// acknowledge, a command that asks for none, a resend request. A command that is not known or not whole gets
/// the status the standard has for it.
///
/// One client at a time has control: the one that wrote 2 or 1 to the control privilege register. Only it
/// writes; everybody reads, unless it took exclusive access. When it is silent for longer than the heartbeat
/// time-out, control is free again, the stream closed and the acquisition stopped. The sender's address and
/// port are what tells clients apart.
class GvcpServer {
 public:
  /// Both must outlive the server.
  GvcpServer(CameraModel& model, GvcpActions& actions, const GvcpIdentity& identity);

  /// The acknowledge; empty where there is none. One thread at a time.
  Bytes Answer(ByteView datagram, const Endpoint& sender, Clock::time_point now);
  /// The client, if it has control, has shown that it is there, or waits for an answer. Any thread.
  void KeepControl(const Endpoint& client, Clock::time_point now);
  /// Drops a controller that has fallen silent. The thread that answers.
  void CheckHeartbeat(Clock::time_point now);
  /// Takes control from whoever has it. Any thread.
  void ReleaseControl();

  static bool IsDiscovery(ByteView datagram);
  /// Tells the sender of a command, which must be one, to wait for the answer.
  static Bytes PendingAcknowledge(ByteView command, std::uint32_t milliseconds);

 private:
  struct Command;
  struct Reply;
  Reply execute(const Command& command, const Endpoint& sender);
  Reply readRegisters(const Command& command) const;
  Reply writeRegisters(const Command& command, const Endpoint& sender);
  Reply readMemory(const Command& command) const;
  Reply writeMemory(const Command& command, const Endpoint& sender);
  Reply forceAddress(const Command& command);
  void resend(const Command& command);
  Status write(std::uint64_t address, ByteView bytes, const Endpoint& sender);
  Status writeWord(std::uint64_t address, std::uint32_t value, const Endpoint& sender);
  Status writePrivilege(std::uint32_t value, const Endpoint& sender);
  bool hasControl(const Endpoint& sender) const;
  bool mayRead(const Endpoint& sender) const;
  bool isAligned(std::uint32_t address) const;

  CameraModel& model_;
  GvcpActions& actions_;
  const std::uint64_t mac_;
  mutable std::mutex mutex_;  // for the next two
  std::optional<Endpoint> controller_;
  Clock::time_point lastSign_;
};

}  // namespace vireo::simulator

// SPDX-License-Identifier: MIT
#pragma once

#include <netinet/in.h>

#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "simulator/faults/fault_script.h"
#include "simulator/gige/gvcp_server.h"
#include "simulator/gige/gvsp.h"

namespace vireo::simulator {

/// Where packets go, and how fast.
struct PacketRoute {
  Endpoint destination;
  std::uint32_t mtu = 0;                   // larger packets are dropped, as by a switch; 0: none is
  std::uint64_t bitsPerSecond = 0;         // of the link; 0: as fast as it goes
  std::chrono::nanoseconds packetDelay{};  // besides
};

/// Sends the packets of frames through a socket, with the faults of one channel of the script.
///
/// Packets go to the kernel in batches, by pointers to header and image. A batch holds at most `batchSize`
/// packets and what the route carries in half a millisecond: then the sender waits until the link would be
/// free again. Late and reordered packets are kept aside as copies. One thread at a time.
class PacketSender {
 public:
  using FaultSource = std::function<Fault()>;

  /// `onDisconnect` is called for that fault, on the sending thread.
  PacketSender(int socket, FaultSource faults, std::function<void()> onDisconnect);

  /// Sends packets `first` to `last` of the frame, which is not used any more afterwards. Returns early when
  /// `stop` is set.
  void Send(const GvspPackets& packets, std::uint32_t first, std::uint32_t last, const PacketRoute& route,
            const std::atomic<bool>& stop);
  /// Sends late packets whose time has come.
  void SendLate();
  std::uint64_t Sent() const { return sent_; }

 private:
  static constexpr std::size_t batchSize = 32;
  static constexpr std::size_t slots = batchSize + 2;  // one packet can bring two more with it
  struct Kept {
    Clock::time_point due;
    sockaddr_in destination;
    Bytes bytes;
  };

  void add(const GvspPacket& packet, std::size_t extra = 0);
  void addFaulty(GvspPacket packet, const Fault& fault, std::uint32_t number);
  void keep(const GvspPacket& packet, Clock::time_point due);
  void scramble(GvspPacket& packet, const Fault& fault);
  void flush(const std::atomic<bool>& stop);
  void pace(std::size_t bytes, std::size_t packets, const std::atomic<bool>& stop);

  const int socket_;
  const FaultSource faults_;
  const std::function<void()> onDisconnect_;
  PacketRoute route_;
  sockaddr_in destination_{};
  std::array<GvspPacket, slots> batch_;
  std::array<std::size_t, slots> extra_{};  // bytes too many, behind each packet
  std::size_t batched_ = 0;
  std::size_t batchLimit_ = batchSize;
  std::unique_ptr<GvspPacket> overtaken_;  // to be sent behind the next one
  std::deque<Kept> late_;
  std::deque<Bytes> scrambled_;  // data of packets in the batch
  Clock::time_point linkFree_;
  std::atomic<std::uint64_t> sent_{0};
};

}  // namespace vireo::simulator

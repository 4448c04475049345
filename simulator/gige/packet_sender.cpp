// SPDX-License-Identifier: MIT
#include "simulator/gige/packet_sender.h"

#include <sys/socket.h>

#include <algorithm>
#include <thread>
#include <utility>

#include "simulator/faults/spoil.h"

namespace vireo::simulator {
namespace {

constexpr std::size_t ipAndUdpHeaders = 28;
constexpr std::uint32_t wrongNumber = 0x7fffff;
constexpr std::size_t mostLatePackets = 20'000;
constexpr auto batchTime = std::chrono::microseconds(500);

iovec vectorOf(ByteView bytes) {
  return {const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
}

std::size_t sizeOf(const GvspPacket& packet) {
  return packet.headSize + packet.data.size();
}

Bytes bytesOf(const GvspPacket& packet) {
  Bytes bytes(packet.head.begin(), packet.head.begin() + packet.headSize);
  bytes.insert(bytes.end(), packet.data.begin(), packet.data.end());
  return bytes;
}

void halve(GvspPacket& packet) {
  if (packet.data.empty()) {
    packet.headSize /= 2;
  } else {
    packet.data = packet.data.first(packet.data.size() / 2);
  }
}

}  // namespace

PacketSender::PacketSender(int socket, FaultSource faults, std::function<void()> onDisconnect)
    : socket_(socket), faults_(std::move(faults)), onDisconnect_(std::move(onDisconnect)) {}

void PacketSender::Send(const GvspPackets& packets, std::uint32_t first, std::uint32_t last,
                        const PacketRoute& route, const std::atomic<bool>& stop) {
  route_ = route;
  destination_.sin_family = AF_INET;
  destination_.sin_addr.s_addr = htonl(route.destination.address);
  destination_.sin_port = htons(route.destination.port);
  batchLimit_ = batchSize;
  if (route.packetDelay.count() > 0)
    batchLimit_ =
        std::clamp<std::size_t>(static_cast<std::size_t>(batchTime / route.packetDelay), 1, batchSize);
  last = std::min(last, packets.Count() - 1);
  for (std::uint32_t number = first; number <= last && !stop; ++number) {
    GvspPacket& packet = batch_[batched_];
    packets.Make(number, packet);
    const Fault fault = faults_();
    if (fault.kind == Fault::Kind::None) {
      add(packet);
    } else {
      addFaulty(packet, fault, number);
    }
    if (overtaken_ != nullptr && fault.kind != Fault::Kind::Reordered)
      add(*std::exchange(overtaken_, nullptr));
    if (batched_ >= batchLimit_) flush(stop);
  }
  if (overtaken_ != nullptr) add(*std::exchange(overtaken_, nullptr));
  flush(stop);
}

void PacketSender::add(const GvspPacket& packet, std::size_t extra) {
  if (route_.mtu != 0 && sizeOf(packet) + extra + ipAndUdpHeaders > route_.mtu) return;
  if (&packet != &batch_[batched_]) batch_[batched_] = packet;
  extra_[batched_++] = extra;
}

void PacketSender::addFaulty(GvspPacket packet, const Fault& fault, std::uint32_t number) {
  switch (fault.kind) {
    case Fault::Kind::Lost:
      return;
    case Fault::Kind::Late:
      return keep(packet, Clock::now() + std::chrono::milliseconds(fault.value));
    case Fault::Kind::Reordered:
      if (overtaken_ != nullptr) add(*overtaken_);
      overtaken_ = std::make_unique<GvspPacket>(packet);
      return;
    case Fault::Kind::Duplicate:
      return add(packet), add(packet);
    case Fault::Kind::Oversized:
      return add(packet, oversize);
    case Fault::Kind::Short:
      halve(packet);
      break;
    case Fault::Kind::WrongId:
      SetPacketNumber(packet, number ^ wrongNumber);
      break;
    case Fault::Kind::Error:
      SetPacketStatus(packet, static_cast<std::uint16_t>(fault.value));
      packet.data = {};
      break;
    case Fault::Kind::Garbage:
    case Fault::Kind::Mutated:
      scramble(packet, fault);
      break;
    case Fault::Kind::Disconnect:
      return onDisconnect_();
    case Fault::Kind::Pending:  // packets are not announced
    case Fault::Kind::None:
      break;
  }
  add(packet);
}

void PacketSender::keep(const GvspPacket& packet, Clock::time_point due) {
  if (late_.size() < mostLatePackets) late_.push_back({due, destination_, bytesOf(packet)});
}

// The frame itself stays as it is, for whoever asks for the packet again.
void PacketSender::scramble(GvspPacket& packet, const Fault& fault) {
  Bytes& bytes = scrambled_.emplace_back(bytesOf(packet));
  Scramble(bytes, fault);
  std::copy_n(bytes.begin(), packet.headSize, packet.head.begin());
  packet.data = ByteView(bytes).subspan(packet.headSize);
}

void PacketSender::SendLate() {
  const auto now = Clock::now();
  std::erase_if(late_, [&](const Kept& kept) {
    if (kept.due > now) return false;
    sendto(socket_, kept.bytes.data(), kept.bytes.size(), 0,
           reinterpret_cast<const sockaddr*>(&kept.destination), sizeof kept.destination);
    return true;
  });
}

void PacketSender::flush(const std::atomic<bool>& stop) {
  static constexpr std::array<std::uint8_t, oversize> excess{};
  std::array<std::array<iovec, 3>, slots> parts{};
  std::array<mmsghdr, slots> messages{};
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < batched_; ++i) {
    const GvspPacket& packet = batch_[i];
    parts[i] = {vectorOf(ByteView(packet.head).first(packet.headSize)), vectorOf(packet.data),
                vectorOf(ByteView(excess).first(extra_[i]))};
    messages[i].msg_hdr.msg_name = &destination_;
    messages[i].msg_hdr.msg_namelen = sizeof destination_;
    messages[i].msg_hdr.msg_iov = parts[i].data();
    messages[i].msg_hdr.msg_iovlen = extra_[i] != 0 ? 3 : packet.data.empty() ? 1 : 2;
    bytes += sizeOf(packet) + extra_[i] + ipAndUdpHeaders;
  }
  for (std::size_t done = 0; done < batched_;) {
    const int count = sendmmsg(socket_, &messages[done], static_cast<unsigned>(batched_ - done), 0);
    const auto accepted = static_cast<std::size_t>(std::max(count, 0));
    sent_ += accepted;
    done += std::max<std::size_t>(accepted, 1);  // what the kernel refuses is lost
  }
  const std::size_t packets = std::exchange(batched_, 0);
  scrambled_.clear();
  if (!late_.empty()) SendLate();
  pace(bytes, packets, stop);
}

void PacketSender::pace(std::size_t bytes, std::size_t packets, const std::atomic<bool>& stop) {
  std::chrono::nanoseconds taken = route_.packetDelay * static_cast<std::int64_t>(packets);
  if (route_.bitsPerSecond != 0)
    taken += std::chrono::nanoseconds(8 * bytes * 1000000000ull / route_.bitsPerSecond);
  if (taken.count() == 0 || stop) return;
  linkFree_ = std::max(linkFree_, Clock::now() - batchTime) + taken;
  if (linkFree_ > Clock::now()) std::this_thread::sleep_until(linkFree_);
}

}  // namespace vireo::simulator

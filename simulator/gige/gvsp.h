// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "simulator/model/camera_model.h"

namespace vireo::simulator {

/// One packet of a frame: its own bytes in `head`, and a part of the frame's image, which is not copied.
struct GvspPacket {
  std::array<std::uint8_t, 64> head{};
  std::size_t headSize = 0;
  ByteView data;
};

/// A frame as the packets of a GigE Vision stream: a leader with the geometry, the image in equal parts, and
/// a trailer, numbered from 0 on. Any of them can be made at any time, which is what resending needs.
///
/// Standard ids have 16 bits for the frame and 24 for the packet; extended ids have 64 and 32, and a header
/// that is 12 bytes longer.
class GvspPackets {
 public:
  /// `packetSize` counts IP and UDP headers too. The frame must outlive this object.
  GvspPackets(const Frame& frame, std::uint64_t block, std::uint32_t packetSize, bool extendedIds);

  std::uint64_t Block() const { return block_; }
  std::uint32_t Count() const { return payloadPackets_ + 2; }
  /// The packet with this number, which must be below Count().
  void Make(std::uint32_t number, GvspPacket& packet) const;
  /// The header alone, with an error: what is sent for a packet that is no longer there.
  void MakeError(std::uint32_t number, Status status, GvspPacket& packet) const;

  /// The frame id after `block`: 0 is none, and standard ids begin again at 1.
  static std::uint64_t NextBlock(std::uint64_t block, bool extendedIds);

 private:
  void putHeader(std::uint32_t number, std::uint8_t format, Status status, GvspPacket& packet) const;

  const Frame* frame_;
  std::uint64_t block_;
  bool extendedIds_;
  std::size_t payloadSize_;
  std::uint32_t payloadPackets_;
};

/// Changes a packet's number in place, and its status.
void SetPacketNumber(GvspPacket& packet, std::uint32_t number);
void SetPacketStatus(GvspPacket& packet, std::uint16_t status);

}  // namespace vireo::simulator

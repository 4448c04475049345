// SPDX-License-Identifier: MIT
#include "simulator/gige/gvsp.h"

#include <algorithm>

namespace vireo::simulator {
namespace {

constexpr std::size_t ipAndUdpHeaders = 28;
constexpr std::size_t standardHeader = 8;
constexpr std::size_t extendedHeader = 20;
constexpr std::uint8_t extendedIdBit = 0x80;
constexpr std::uint8_t leaderFormat = 1;
constexpr std::uint8_t trailerFormat = 2;
constexpr std::uint8_t payloadFormat = 3;
constexpr std::uint16_t imagePayload = 1;

// Appends to a packet's head.
class HeadWriter {
 public:
  explicit HeadWriter(GvspPacket& packet) : packet_(packet) {}
  template <std::unsigned_integral Number>
  HeadWriter& Put(Number value) {
    WriteNumber<std::endian::big>(packet_.head, packet_.headSize, value);
    packet_.headSize += sizeof value;
    return *this;
  }

 private:
  GvspPacket& packet_;
};

}  // namespace

GvspPackets::GvspPackets(const Frame& frame, std::uint64_t block, std::uint32_t packetSize, bool extendedIds)
    : frame_(&frame),
      block_(block),
      extendedIds_(extendedIds),
      payloadSize_(packetSize - ipAndUdpHeaders - (extendedIds ? extendedHeader : standardHeader)),
      payloadPackets_(static_cast<std::uint32_t>((frame.image.size() + payloadSize_ - 1) / payloadSize_)) {}

std::uint64_t GvspPackets::NextBlock(std::uint64_t block, bool extendedIds) {
  return !extendedIds && block >= 0xffff ? 1 : block + 1;
}

void GvspPackets::putHeader(std::uint32_t number, std::uint8_t format, Status status,
                            GvspPacket& packet) const {
  packet.headSize = 0;
  packet.data = {};
  HeadWriter head(packet);
  head.Put(static_cast<std::uint16_t>(status));
  if (extendedIds_) {
    head.Put(std::uint16_t{0}).Put((std::uint32_t{extendedIdBit} | format) << 24).Put(block_).Put(number);
  } else {
    head.Put(static_cast<std::uint16_t>(block_)).Put(std::uint32_t{format} << 24 | (number & 0xffffff));
  }
}

void GvspPackets::Make(std::uint32_t number, GvspPacket& packet) const {
  const PictureSettings& picture = frame_->exposure.picture;
  if (number == 0) {
    putHeader(number, leaderFormat, Status::Success, packet);
    HeadWriter(packet)
        .Put(std::uint16_t{0})
        .Put(imagePayload)
        .Put(frame_->exposure.timestamp)
        .Put(picture.pixelFormat)
        .Put(picture.width)
        .Put(picture.height)
        .Put(picture.offsetX)
        .Put(picture.offsetY)
        .Put(std::uint32_t{0});  // no padding
  } else if (number > payloadPackets_) {
    putHeader(number, trailerFormat, Status::Success, packet);
    HeadWriter(packet).Put(std::uint16_t{0}).Put(imagePayload).Put(picture.height);
  } else {
    putHeader(number, payloadFormat, Status::Success, packet);
    const std::size_t begin = (number - 1) * payloadSize_;
    packet.data =
        ByteView(frame_->image).subspan(begin, std::min(payloadSize_, frame_->image.size() - begin));
  }
}

void GvspPackets::MakeError(std::uint32_t number, Status status, GvspPacket& packet) const {
  putHeader(number, payloadFormat, status, packet);
}

void SetPacketNumber(GvspPacket& packet, std::uint32_t number) {
  const bool extended = (packet.head[4] & extendedIdBit) != 0;
  if (extended) {
    WriteNumber<std::endian::big>(packet.head, 16, number);
  } else {
    const std::uint32_t format = packet.head[4];
    WriteNumber<std::endian::big>(packet.head, 4, format << 24 | (number & 0xffffff));
  }
}

void SetPacketStatus(GvspPacket& packet, std::uint16_t status) {
  WriteNumber<std::endian::big>(packet.head, 0, status);
}

}  // namespace vireo::simulator

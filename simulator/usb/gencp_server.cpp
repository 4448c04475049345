// SPDX-License-Identifier: MIT
#include "simulator/usb/gencp_server.h"

#include <algorithm>

namespace vireo::simulator {
namespace {

constexpr std::uint32_t prefix = 0x43563355;
constexpr std::uint16_t acknowledgeFlag = 0x4000;
constexpr std::size_t headerSize = 12;
constexpr std::uint16_t readMem = 0x0800;
constexpr std::uint16_t writeMem = 0x0802;
constexpr std::uint16_t pendingAcknowledge = 0x0805;

template <std::unsigned_integral Number>
Number number(ByteView from, std::size_t at) {
  return ReadNumber<std::endian::little, Number>(from, at);
}

using Writer = PacketWriter<std::endian::little>;

Bytes acknowledge(Status status, std::uint16_t code, ByteView rest, std::uint16_t id) {
  Bytes packet;
  packet.reserve(headerSize + rest.size());
  Writer(packet)
      .Put(prefix)
      .Put(static_cast<std::uint16_t>(status))
      .Put(code)
      .Put(static_cast<std::uint16_t>(rest.size()))
      .Put(id);
  packet.insert(packet.end(), rest.begin(), rest.end());
  return packet;
}

Bytes twoWords(std::size_t second) {
  Bytes rest;
  Writer(rest).Put(std::uint16_t{0}).Put(static_cast<std::uint16_t>(second));
  return rest;
}

}  // namespace

Bytes GencpServer::PendingAcknowledge(ByteView command, std::uint32_t milliseconds) {
  return acknowledge(Status::Success, pendingAcknowledge, twoWords(std::min(milliseconds, 0xffffu)),
                     number<std::uint16_t>(command, 10));
}

Bytes GencpServer::Answer(ByteView command) {
  if (command.size() < headerSize || command.size() > U3vMemory::maxCommand) return {};
  if (number<std::uint32_t>(command, 0) != prefix) return {};
  const auto flags = number<std::uint16_t>(command, 4);
  const auto code = number<std::uint16_t>(command, 6);
  if (code % 2 != 0) return {};
  const ByteView rest = command.subspan(headerSize);
  Bytes data;
  Status status = Status::NotImplemented;
  if (rest.size() != number<std::uint16_t>(command, 8)) {
    status = Status::InvalidHeader;
  } else if (code == readMem) {
    status = readMemory(rest, data);
  } else if (code == writeMem) {
    status = writeMemory(rest, data);
  }
  if ((flags & acknowledgeFlag) == 0) return {};
  if (status != Status::Success) data.clear();
  return acknowledge(status, static_cast<std::uint16_t>(code + 1), data, number<std::uint16_t>(command, 10));
}

Status GencpServer::readMemory(ByteView rest, Bytes& data) {
  if (rest.size() != 12) return Status::InvalidHeader;
  const std::size_t count = number<std::uint16_t>(rest, 10);
  if (count == 0 || count > U3vMemory::maxAcknowledge - headerSize) return Status::InvalidParameter;
  data.resize(count);
  return memory_.Read(number<std::uint64_t>(rest, 0), data);
}

Status GencpServer::writeMemory(ByteView rest, Bytes& data) {
  if (rest.size() <= 8) return Status::InvalidHeader;
  data = twoWords(rest.size() - 8);
  return memory_.Write(number<std::uint64_t>(rest, 0), rest.subspan(8));
}

}  // namespace vireo::simulator

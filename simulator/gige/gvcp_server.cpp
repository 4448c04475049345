// SPDX-License-Identifier: MIT
#include "simulator/gige/gvcp_server.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>

#include "simulator/gige/bootstrap.h"

namespace vireo::simulator {
namespace {

constexpr std::uint8_t key = 0x42;
constexpr std::uint8_t acknowledgeFlag = 0x01;
constexpr std::uint8_t extendedIdFlag = 0x10;
constexpr std::size_t headerSize = 8;
constexpr std::size_t longestData = 536;       // bytes of memory in one command
constexpr std::uint32_t ipConfigurations = 7;  // persistent address, DHCP, link local
constexpr std::uint32_t ipLinkLocal = 4;       // which is always on

constexpr std::uint16_t discovery = 0x0002;
constexpr std::uint16_t forceIp = 0x0004;
constexpr std::uint16_t packetResend = 0x0040;
constexpr std::uint16_t readReg = 0x0080;
constexpr std::uint16_t writeReg = 0x0082;
constexpr std::uint16_t readMem = 0x0084;
constexpr std::uint16_t writeMem = 0x0086;
constexpr std::uint16_t pendingAcknowledge = 0x0089;

template <std::unsigned_integral Number>
Number number(ByteView from, std::size_t at) {
  return ReadNumber<std::endian::big, Number>(from, at);
}

using Writer = PacketWriter<std::endian::big>;

struct Range {
  std::uint64_t first;
  std::uint64_t end;
};

// Bootstrap registers that no client writes.
constexpr Range readOnly[] = {
    {bootstrap::version, bootstrap::ipCurrent},
    {bootstrap::ipCurrent + 4, reg::userName},
    {bootstrap::firstUrl, bootstrap::firstUrl + bootstrap::urlSize},
    {bootstrap::secondUrl, bootstrap::interfaces + 4},
    {0x0900, bootstrap::heartbeatTimeout},
    {bootstrap::tickFrequencyHigh, bootstrap::timestampControl},
    {bootstrap::timestampHigh, bootstrap::timestampLow + 4},
    {bootstrap::primaryApplication, bootstrap::primaryApplication + 4},
    {bootstrap::streamSourcePort, bootstrap::streamSourcePort + 4},
};

Bytes header(Status status, std::uint16_t acknowledge, std::size_t length, std::uint16_t id) {
  Bytes packet;
  packet.reserve(headerSize + length);
  Writer(packet)
      .Put(static_cast<std::uint16_t>(status))
      .Put(acknowledge)
      .Put(static_cast<std::uint16_t>(length))
      .Put(id);
  return packet;
}

}  // namespace

struct GvcpServer::Command {
  std::uint8_t flags;
  std::uint16_t code;
  std::uint16_t length;
  std::uint16_t id;
  ByteView payload;

  explicit Command(ByteView datagram)
      : flags(datagram[1]),
        code(number<std::uint16_t>(datagram, 2)),
        length(number<std::uint16_t>(datagram, 4)),
        id(number<std::uint16_t>(datagram, 6)),
        payload(datagram.subspan(headerSize)) {}
};

struct GvcpServer::Reply {
  Status status = Status::Success;
  Bytes payload;
};

GvcpServer::GvcpServer(CameraModel& model, GvcpActions& actions, const GvcpIdentity& identity)
    : model_(model), actions_(actions), mac_(identity.mac) {
  const std::pair<std::uint64_t, std::uint32_t> registers[] = {
      {bootstrap::version, 0x00020000},
      {bootstrap::deviceMode, 0x80000001},  // big endian, UTF-8
      {bootstrap::macHigh, static_cast<std::uint32_t>(identity.mac >> 32)},
      {bootstrap::macLow, static_cast<std::uint32_t>(identity.mac)},
      {bootstrap::ipSupported, ipConfigurations},
      {bootstrap::ipCurrent, 6},
      {bootstrap::ipAddress, identity.address},
      {bootstrap::subnetMask, identity.subnetMask},
      {bootstrap::interfaces, 1},
      {bootstrap::streamChannels, 1},
      {bootstrap::gvcpCapability, bootstrap::capabilities},
      {bootstrap::heartbeatTimeout, 3000},
      {bootstrap::tickFrequencyLow, 1000000000},
      {bootstrap::streamPacketSize, 1500},
      {bootstrap::streamSourcePort, identity.streamSourcePort},
  };
  for (const auto& [address, value] : registers) model_.SetRegister(address, value);
  std::array<char, bootstrap::urlSize> url{};
  std::snprintf(url.data(), url.size(), "Local:%s;%" PRIx64 ";%zx", model_.Description().fileName.c_str(),
                CameraModel::descriptionAddress, model_.DescriptionSize());
  model_.SetText(bootstrap::firstUrl, bootstrap::urlSize, url.data());
}

bool GvcpServer::IsDiscovery(ByteView datagram) {
  return datagram.size() >= headerSize && number<std::uint16_t>(datagram, 2) == discovery;
}

Bytes GvcpServer::PendingAcknowledge(ByteView command, std::uint32_t milliseconds) {
  Bytes packet = header(Status::Success, pendingAcknowledge, 4, Command(command).id);
  Writer(packet).Put(std::uint16_t{0}).Put(static_cast<std::uint16_t>(std::min(milliseconds, 0xffffu)));
  return packet;
}

Bytes GvcpServer::Answer(ByteView datagram, const Endpoint& sender, Clock::time_point now) {
  if (datagram.size() < headerSize || datagram[0] != key) return {};
  const Command command(datagram);
  if (command.code % 2 != 0) return {};  // an acknowledge, not a command
  KeepControl(sender, now);
  if (command.code == packetResend) {
    resend(command);
    return {};
  }
  const bool isWhole = command.payload.size() == command.length;
  Reply reply = isWhole ? execute(command, sender) : Reply{Status::InvalidHeader, {}};
  const bool isForAnother = command.code == forceIp && reply.status == Status::AccessDenied;
  if ((command.flags & acknowledgeFlag) == 0 || isForAnother) return {};
  const bool isWrite = command.code == writeReg || command.code == writeMem;
  if (reply.status != Status::Success && !isWrite) reply.payload.clear();
  Bytes packet =
      header(reply.status, static_cast<std::uint16_t>(command.code + 1), reply.payload.size(), command.id);
  packet.insert(packet.end(), reply.payload.begin(), reply.payload.end());
  return packet;
}

GvcpServer::Reply GvcpServer::execute(const Command& command, const Endpoint& sender) {
  switch (command.code) {
    case discovery: {
      if (command.length != 0) return {Status::InvalidHeader, {}};
      Reply reply{Status::Success, Bytes(bootstrap::discoveryEnd)};
      model_.Read(bootstrap::version, reply.payload);
      return reply;
    }
    case forceIp:
      return forceAddress(command);
    case writeReg:
      return writeRegisters(command, sender);
    case writeMem:
      return writeMemory(command, sender);
    case readReg:
      return mayRead(sender) ? readRegisters(command) : Reply{Status::AccessDenied, {}};
    case readMem:
      return mayRead(sender) ? readMemory(command) : Reply{Status::AccessDenied, {}};
    default:
      return {Status::NotImplemented, {}};
  }
}

GvcpServer::Reply GvcpServer::readRegisters(const Command& command) const {
  if (command.length == 0 || command.length % 4 != 0 || command.length > longestData)
    return {Status::InvalidHeader, {}};
  Reply reply{Status::Success, Bytes(command.length)};
  for (std::size_t at = 0; at < command.length; at += 4) {
    const auto address = number<std::uint32_t>(command.payload, at);
    if (!isAligned(address)) return {Status::BadAlignment, {}};
    const Status status = model_.Read(address, std::span(reply.payload).subspan(at, 4));
    if (status != Status::Success) return {status, {}};
  }
  return reply;
}

GvcpServer::Reply GvcpServer::readMemory(const Command& command) const {
  if (command.length != 8) return {Status::InvalidHeader, {}};
  const auto address = number<std::uint32_t>(command.payload, 0);
  const auto count = number<std::uint16_t>(command.payload, 6);
  if (count == 0 || count > longestData) return {Status::InvalidParameter, {}};
  if (!isAligned(address) || count % 4 != 0) return {Status::BadAlignment, {}};
  Reply reply{Status::Success, Bytes(4 + std::size_t{count})};
  WriteNumber<std::endian::big>(std::span(reply.payload), 0, address);
  reply.status = model_.Read(address, std::span(reply.payload).subspan(4));
  return reply;
}

// The acknowledge of a write states how far it came, also with an error.
GvcpServer::Reply GvcpServer::writeRegisters(const Command& command, const Endpoint& sender) {
  if (command.length == 0 || command.length % 8 != 0 || command.length > longestData + 4)
    return {Status::InvalidHeader, {}};
  Reply reply;
  std::uint16_t done = 0;
  for (; done < command.length / 8 && reply.status == Status::Success; ++done) {
    const auto address = number<std::uint32_t>(command.payload, done * 8u);
    const ByteView value = command.payload.subspan(done * 8u + 4, 4);
    reply.status = isAligned(address) ? write(address, value, sender) : Status::BadAlignment;
    if (reply.status != Status::Success) break;
  }
  Writer(reply.payload).Put(std::uint16_t{0}).Put(done);
  return reply;
}

GvcpServer::Reply GvcpServer::writeMemory(const Command& command, const Endpoint& sender) {
  if (command.length <= 4 || command.length > longestData + 4) return {Status::InvalidHeader, {}};
  const auto address = number<std::uint32_t>(command.payload, 0);
  const ByteView data = command.payload.subspan(4);
  Reply reply;
  const bool aligned = isAligned(address) && data.size() % 4 == 0;
  reply.status = aligned ? write(address, data, sender) : Status::BadAlignment;
  const std::size_t written = reply.status == Status::Success ? data.size() : 0;
  Writer(reply.payload).Put(std::uint16_t{0}).Put(static_cast<std::uint16_t>(written));
  return reply;
}

// AccessDenied stands for no answer: another camera is meant, or a client has control of this one.
GvcpServer::Reply GvcpServer::forceAddress(const Command& command) {
  if (command.length != 56) return {Status::InvalidHeader, {}};
  const std::uint64_t mac = std::uint64_t{number<std::uint16_t>(command.payload, 2)} << 32 |
                            number<std::uint32_t>(command.payload, 4);
  const bool isControlled = model_.Register(bootstrap::controlPrivilege) != 0;
  if (mac != mac_ || isControlled) return {Status::AccessDenied, {}};
  const auto address = number<std::uint32_t>(command.payload, 20);
  if (!actions_.ForceAddress(address)) return {Status::InvalidParameter, {}};
  model_.SetRegister(bootstrap::ipAddress, address);
  model_.SetRegister(bootstrap::subnetMask, number<std::uint32_t>(command.payload, 36));
  model_.SetRegister(bootstrap::gateway, number<std::uint32_t>(command.payload, 52));
  return {};
}

void GvcpServer::resend(const Command& command) {
  if (command.payload.size() != command.length) return;
  const bool extended = (command.flags & extendedIdFlag) != 0;
  if (command.length != (extended ? 20 : 12)) return;
  actions_.Resend(
      {extended ? number<std::uint64_t>(command.payload, 12) : number<std::uint16_t>(command.payload, 2),
       number<std::uint32_t>(command.payload, 4), number<std::uint32_t>(command.payload, 8)});
}

Status GvcpServer::write(std::uint64_t address, ByteView bytes, const Endpoint& sender) {
  const std::uint64_t end = address + bytes.size();
  for (const Range& range : readOnly)
    if (address < range.end && end > range.first) return Status::WriteProtect;
  if (bytes.size() == 4) return writeWord(address, number<std::uint32_t>(bytes, 0), sender);
  // The registers of control and stream are words.
  if (address < bootstrap::streamSourcePort && end > bootstrap::timestampControl)
    return Status::InvalidParameter;
  return hasControl(sender) ? model_.Write(address, bytes) : Status::AccessDenied;
}

Status GvcpServer::writeWord(std::uint64_t address, std::uint32_t value, const Endpoint& sender) {
  if (address == bootstrap::controlPrivilege) return writePrivilege(value, sender);
  if (!hasControl(sender)) return Status::AccessDenied;
  if (address == bootstrap::ipCurrent) {
    model_.SetRegister(address, (value & ipConfigurations) | ipLinkLocal);
    return Status::Success;
  }
  if (address == bootstrap::streamPacketSize) {
    const std::uint32_t size = value & 0xffff;
    if (size < bootstrap::leastPacketSize || size > bootstrap::mostPacketSize)
      return Status::InvalidParameter;
    model_.SetRegister(address, value & ~bootstrap::fireTestPacket);
    if ((value & bootstrap::fireTestPacket) != 0) actions_.FireTestPacket();
    return Status::Success;
  }
  if (address == bootstrap::timestampControl) {
    if ((value & bootstrap::latchTimestamp) == 0) return Status::Success;
    const std::uint64_t ticks = model_.Timestamp();
    model_.SetRegister(bootstrap::timestampHigh, static_cast<std::uint32_t>(ticks >> 32));
    model_.SetRegister(bootstrap::timestampLow, static_cast<std::uint32_t>(ticks));
    return Status::Success;
  }
  std::array<std::uint8_t, 4> bytes{};
  WriteNumber<std::endian::big>(bytes, 0, value);
  return model_.Write(address, bytes);
}

Status GvcpServer::writePrivilege(std::uint32_t value, const Endpoint& sender) {
  const std::lock_guard lock(mutex_);
  if (controller_ && *controller_ != sender) return Status::AccessDenied;
  if (!controller_ && value == 0) return Status::AccessDenied;
  controller_ = value != 0 ? std::optional(sender) : std::nullopt;
  lastSign_ = Clock::now();
  model_.SetRegister(bootstrap::controlPrivilege, value);
  model_.SetRegister(bootstrap::primaryApplication, value != 0 ? sender.address : 0);
  return Status::Success;
}

bool GvcpServer::hasControl(const Endpoint& sender) const {
  const std::lock_guard lock(mutex_);
  return controller_ == sender;
}

bool GvcpServer::mayRead(const Endpoint& sender) const {
  const bool isExclusive = (model_.Register(bootstrap::controlPrivilege) & 1) != 0;
  return !isExclusive || hasControl(sender);
}

// Descriptions of some makers have registers at odd addresses; their cameras must answer there.
bool GvcpServer::isAligned(std::uint32_t address) const {
  return address % 4 == 0 || !model_.Description().isOurs;
}

void GvcpServer::KeepControl(const Endpoint& client, Clock::time_point now) {
  const std::lock_guard lock(mutex_);
  if (controller_ == client) lastSign_ = now;
}

void GvcpServer::CheckHeartbeat(Clock::time_point now) {
  const std::chrono::milliseconds timeout(model_.Register(bootstrap::heartbeatTimeout));
  {
    const std::lock_guard lock(mutex_);
    if (!controller_ || now - lastSign_ <= timeout) return;
  }
  ReleaseControl();
  model_.SetRegister(bootstrap::streamPort, 0);
  model_.StopAcquisition();
}

void GvcpServer::ReleaseControl() {
  const std::lock_guard lock(mutex_);
  controller_.reset();
  model_.SetRegister(bootstrap::controlPrivilege, 0);
  model_.SetRegister(bootstrap::primaryApplication, 0);
}

}  // namespace vireo::simulator

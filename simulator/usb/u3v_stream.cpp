// SPDX-License-Identifier: MIT
#include "simulator/usb/u3v_stream.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "simulator/faults/spoil.h"

namespace vireo::simulator {
namespace {

using std::chrono::milliseconds;

constexpr std::uint32_t leaderPrefix = 0x4c563355;
constexpr std::uint32_t trailerPrefix = 0x54563355;
constexpr std::uint16_t leaderSize = 52;
constexpr std::uint16_t trailerSize = 32;
constexpr std::uint16_t imagePayload = 1;
constexpr std::size_t busPacket = 1024;
constexpr milliseconds patience(5);  // until a change of the settings is seen

using Writer = PacketWriter<std::endian::little>;

}  // namespace

UsbResult U3vStream::Read(std::span<std::uint8_t> into, std::size_t& received, Clock::time_point until) {
  received = 0;
  do {
    const auto soon = std::min(until, Clock::now() + patience);
    followSettings();
    if (!settings_.isEnabled) {
      std::this_thread::sleep_until(soon);
    } else if (transfers_.empty()) {
      if (const auto exposure = model_.WaitForFrame(soon)) begin(*exposure);
    } else if (transfers_.front().isLast) {
      return UsbResult::NoDevice;
    } else if (transfers_.front().due > Clock::now()) {
      std::this_thread::sleep_until(std::min(soon, transfers_.front().due));
    } else {
      return take(into, received);
    }
  } while (Clock::now() < until);
  return UsbResult::TimedOut;
}

void U3vStream::followSettings() {
  const U3vStreamSettings now = memory_.StreamSettings();
  if (now.runs != settings_.runs || !now.isEnabled) {
    transfers_.clear();
    taken_ = 0;
    block_ = 0;
  }
  settings_ = now;
}

void U3vStream::begin(const Exposure& exposure) {
  frame_.exposure = exposure;
  FillPicture(exposure.picture, block_, frame_.image);
  const auto queueHead = [&](Bytes head) {
    const std::size_t size = head.size();
    queue({std::move(head), {}, size, {}});
  };
  queueHead(leader(exposure));
  const std::size_t part = settings_.payloadSize != 0 ? settings_.payloadSize : frame_.image.size();
  for (std::size_t at = 0; at < frame_.image.size(); at += part) {
    const std::size_t size = std::min(part, frame_.image.size() - at);
    queue({{}, ByteView(frame_.image).subspan(at, size), size, {}});
  }
  queueHead(trailer(exposure));
  ++block_;
}

void U3vStream::queue(Transfer transfer) {
  const Fault fault = faults_.Next(Channel::Packet);
  const bool hasId = !transfer.head.empty();
  switch (fault.kind) {
    case Fault::Kind::Lost:
      return;
    case Fault::Kind::Late:
      transfer.due = Clock::now() + milliseconds(fault.value);
      break;
    case Fault::Kind::WrongId:
      if (hasId) transfer.head[8] ^= 0x55;
      break;
    case Fault::Kind::Error:
      if (hasId && transfer.size == trailerSize)
        WriteNumber<std::endian::little>(std::span(transfer.head), 16,
                                         static_cast<std::uint16_t>(fault.value));
      break;
    case Fault::Kind::Short:
      transfer.size /= 2;
      break;
    case Fault::Kind::Oversized:
      transfer.size += oversize;
      break;
    case Fault::Kind::Duplicate:
      transfers_.push_back(transfer);
      break;
    case Fault::Kind::Reordered:
      if (!transfers_.empty()) std::swap(transfer, transfers_.back());
      break;
    case Fault::Kind::Disconnect:
      transfer.isLast = true;
      break;
    case Fault::Kind::Garbage:
    case Fault::Kind::Mutated:
      if (transfer.head.empty()) transfer.head.assign(transfer.data.begin(), transfer.data.end());
      Scramble(transfer.head, fault);
      break;
    case Fault::Kind::Pending:  // transfers are not announced
    case Fault::Kind::None:
      break;
  }
  transfers_.push_back(std::move(transfer));
}

Bytes U3vStream::leader(const Exposure& exposure) const {
  const PictureSettings& picture = exposure.picture;
  Bytes bytes;
  Writer(bytes)
      .Put(leaderPrefix)
      .Put(std::uint16_t{0})
      .Put(leaderSize)
      .Put(block_)
      .Put(std::uint16_t{0})
      .Put(imagePayload)
      .Put(exposure.timestamp)
      .Put(picture.pixelFormat)
      .Put(picture.width)
      .Put(picture.height)
      .Put(picture.offsetX)
      .Put(picture.offsetY)
      .Put(std::uint32_t{0});  // no padding
  return bytes;
}

Bytes U3vStream::trailer(const Exposure& exposure) const {
  Bytes bytes;
  Writer(bytes)
      .Put(trailerPrefix)
      .Put(std::uint16_t{0})
      .Put(trailerSize)
      .Put(block_)
      .Put(std::uint32_t{0})  // status
      .Put(static_cast<std::uint64_t>(frame_.image.size()))
      .Put(exposure.picture.height);
  return bytes;
}

UsbResult U3vStream::take(std::span<std::uint8_t> into, std::size_t& received) {
  const Transfer& transfer = transfers_.front();
  const ByteView source = transfer.head.empty() ? transfer.data : ByteView(transfer.head);
  received = std::min(into.size(), transfer.size - taken_);
  for (std::size_t i = 0; i < received;) {  // an oversized transfer ends with bytes of its begin
    const std::size_t from = (taken_ + i) % source.size();
    const std::size_t count = std::min(received - i, source.size() - from);
    std::copy_n(source.begin() + static_cast<std::ptrdiff_t>(from), count,
                into.begin() + static_cast<std::ptrdiff_t>(i));
    i += count;
  }
  taken_ += received;
  const bool overflows = taken_ < transfer.size && into.size() % busPacket != 0;
  if (overflows) taken_ = (taken_ / busPacket + 1) * busPacket;
  if (taken_ >= transfer.size) {
    transfers_.pop_front();
    taken_ = 0;
  }
  return overflows ? UsbResult::Overflow : UsbResult::Done;
}

}  // namespace vireo::simulator

// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vireo::simulator {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

/// Numbers in packets and registers. GigE Vision and the camera's own registers are big endian, USB3 Vision
/// is little endian. `from` and `into` must hold the number at `at`.
template <std::endian order, std::unsigned_integral Number>
Number ReadNumber(ByteView from, std::size_t at) {
  Number value = 0;
  for (std::size_t i = 0; i < sizeof(Number); ++i) {
    const std::size_t shift = 8 * (order == std::endian::big ? sizeof(Number) - 1 - i : i);
    value = static_cast<Number>(value | static_cast<Number>(from[at + i]) << shift);
  }
  return value;
}

template <std::endian order, std::unsigned_integral Number>
void WriteNumber(std::span<std::uint8_t> into, std::size_t at, Number value) {
  for (std::size_t i = 0; i < sizeof(Number); ++i) {
    const std::size_t shift = 8 * (order == std::endian::big ? sizeof(Number) - 1 - i : i);
    into[at + i] = static_cast<std::uint8_t>(value >> shift);
  }
}

/// Appends numbers of one byte order to a packet.
template <std::endian order>
class PacketWriter {
 public:
  explicit PacketWriter(Bytes& packet) : packet_(packet) {}

  template <std::unsigned_integral Number>
  PacketWriter& Put(Number value) {
    packet_.resize(packet_.size() + sizeof value);
    WriteNumber<order>(std::span(packet_), packet_.size() - sizeof value, value);
    return *this;
  }

 private:
  Bytes& packet_;
};

}  // namespace vireo::simulator

// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/faults/fault_script.h"
#include "simulator/faults/random.h"
#include "simulator/model/bytes.h"

namespace vireo::simulator {

/// Where an acknowledge's header has its 16-bit numbers.
struct AcknowledgeLayout {
  std::size_t status;
  std::size_t length;
  std::size_t id;
  std::size_t headerSize;
};

inline constexpr std::size_t oversize = 64;  // bytes too many

constexpr bool Scrambles(const Fault& fault) {
  return fault.kind == Fault::Kind::Garbage || fault.kind == Fault::Kind::Mutated;
}

/// Replaces all bytes or changes some, as the two faults do that leave the length alone.
inline void Scramble(std::span<std::uint8_t> bytes, const Fault& fault) {
  RandomNumbers random(fault.random);
  const bool isGarbage = fault.kind == Fault::Kind::Garbage;
  std::size_t changes = isGarbage ? 0 : fault.value;
  for (std::size_t left = bytes.size(); left > 0; --left) {
    std::uint8_t& byte = bytes[bytes.size() - left];
    if (isGarbage) byte = static_cast<std::uint8_t>(random.Next());
    if (changes == 0 || random.Next() % left >= changes) continue;
    byte = static_cast<std::uint8_t>(byte ^ (1 + random.Next() % 255));
    --changes;
  }
}

/// Changes an acknowledge as the faults do that change what is sent, rather than whether or when.
template <std::endian order>
void Spoil(Bytes& answer, const Fault& fault, const AcknowledgeLayout& layout) {
  if (fault.kind == Fault::Kind::WrongId) answer[layout.id] ^= 0x55;
  if (fault.kind == Fault::Kind::Error) {
    answer.resize(layout.headerSize);
    WriteNumber<order>(std::span(answer), layout.status, static_cast<std::uint16_t>(fault.value));
    WriteNumber<order>(std::span(answer), layout.length, std::uint16_t{0});
  }
  if (fault.kind == Fault::Kind::Short) answer.resize(answer.size() / 2);
  if (Scrambles(fault)) Scramble(answer, fault);
  if (fault.kind == Fault::Kind::Oversized) answer.resize(answer.size() + oversize, 0xee);
}

}  // namespace vireo::simulator

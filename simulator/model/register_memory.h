// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "simulator/model/bytes.h"
#include "simulator/model/status.h"

namespace vireo::simulator {

/// The camera's address space. Memory is made in pages when something is written, and reads as zero before;
/// so a description with registers anywhere in 64 bits is served from a few pages. A client that writes all
/// over the place gets InvalidAddress once `maxPages` are in use. One text, the description, is mapped in and
/// cannot be written. Not thread-safe.
class RegisterMemory {
 public:
  static constexpr std::size_t maxPages = 1024;
  static constexpr std::size_t pageSize = 4096;

  /// Addresses from `end` on do not exist, apart from the mapped text.
  explicit RegisterMemory(std::uint64_t end) : end_(end) {}

  void MapText(std::uint64_t address, std::string text);

  Status Read(std::uint64_t address, std::span<std::uint8_t> into) const;
  Status Write(std::uint64_t address, ByteView bytes);

  /// A register of four bytes, big endian.
  std::uint32_t Get(std::uint64_t address) const;
  void Set(std::uint64_t address, std::uint32_t value);
  /// Text in a field of `size` bytes, cut or filled up with zeros; the last byte stays zero.
  void SetText(std::uint64_t address, std::size_t size, const std::string& text);

  /// Bytes that the registers take.
  std::size_t Size() const { return pages_.size() * pageSize; }

 private:
  using Page = std::array<std::uint8_t, pageSize>;

  bool exists(std::uint64_t address, std::size_t size) const;
  bool touchesText(std::uint64_t address, std::size_t size) const;
  bool hasRoomFor(std::uint64_t address, std::size_t size) const;

  std::uint64_t end_;
  std::uint64_t textAddress_ = 0;
  std::string text_;
  std::unordered_map<std::uint64_t, Page> pages_;
};

}  // namespace vireo::simulator

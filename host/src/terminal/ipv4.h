// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vireo::host {

// IPv4 addresses in the host's byte order.

/// Such as "192.168.0.7".
std::string Ipv4Text(std::uint32_t address);
/// None when the text is anything else.
std::optional<std::uint32_t> Ipv4From(const std::string& text);

/// An address with its subnet.
struct Ipv4Network {
  std::uint32_t address = 0;
  std::uint32_t mask = 0;

  bool Contains(std::uint32_t other) const { return ((address ^ other) & mask) == 0; }
  /// Such as "192.168.0.7/24".
  std::string Text() const;
  /// The subnet alone, such as "192.168.0.0/24".
  std::string SubnetText() const;
};

}  // namespace vireo::host

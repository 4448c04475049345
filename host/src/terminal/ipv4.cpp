// SPDX-License-Identifier: MIT
#include "terminal/ipv4.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <bit>

namespace vireo::host {

std::string Ipv4Text(std::uint32_t address) {
  return fmt::format("{}.{}.{}.{}", address >> 24, address >> 16 & 0xff, address >> 8 & 0xff, address & 0xff);
}

std::optional<std::uint32_t> Ipv4From(const std::string& text) {
  in_addr address{};
  if (inet_pton(AF_INET, text.c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

std::string Ipv4Network::Text() const {
  return fmt::format("{}/{}", Ipv4Text(address), std::popcount(mask));
}

std::string Ipv4Network::SubnetText() const {
  return Ipv4Network{address & mask, mask}.Text();
}

}  // namespace vireo::host

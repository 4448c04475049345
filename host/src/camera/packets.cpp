// SPDX-License-Identifier: MIT
#include "camera/packets.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>

namespace vireo::host {
namespace {

std::optional<std::uint32_t> numberOf(Camera& camera, const std::string& name) {
  if (!camera.Catalogue().contains(name)) return std::nullopt;
  try {
    const common::Parameter parameter = camera.Adapter().Read(name);
    if (const int* const number = std::get_if<int>(&parameter.value))
      return static_cast<std::uint32_t>(*number);
  } catch (const std::runtime_error&) {  // as good as not there
  }
  return std::nullopt;
}

// The largest packet that this computer sends to an address whole; it takes as much from there.
std::optional<int> mtuTowards(std::uint32_t address) {
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in camera{};
  camera.sin_family = AF_INET;
  camera.sin_addr.s_addr = htonl(address);
  camera.sin_port = htons(1);  // nothing is sent
  int mtu = 0;
  socklen_t size = sizeof mtu;
  const bool known = ::connect(descriptor, reinterpret_cast<const sockaddr*>(&camera), sizeof camera) == 0 &&
                     ::getsockopt(descriptor, IPPROTO_IP, IP_MTU, &mtu, &size) == 0;
  ::close(descriptor);
  return known ? std::optional(mtu) : std::nullopt;
}

}  // namespace

std::string PacketFacts(Camera& camera) {
  const std::optional<std::uint32_t> size = numberOf(camera, "GevSCPSPacketSize");
  if (!size) return "";
  const std::optional<std::uint32_t> address = numberOf(camera, "GevCurrentIPAddress");
  const std::optional<int> mtu = address ? mtuTowards(*address) : std::nullopt;
  return fmt::format("packets of {} bytes, MTU {}", *size, mtu ? fmt::format("{}", *mtu) : "unknown");
}

}  // namespace vireo::host

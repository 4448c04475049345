// SPDX-License-Identifier: MIT
#include "simulator/gige/network_interface.h"

#include <arpa/inet.h>
#include <ifaddrs.h>

#include <cstring>

namespace vireo::simulator {
namespace {

std::uint32_t addressIn(const sockaddr* address) {
  sockaddr_in internet{};
  if (address != nullptr) std::memcpy(&internet, address, sizeof internet);
  return ntohl(internet.sin_addr.s_addr);
}

}  // namespace

std::string AddressText(std::uint32_t address) {
  const in_addr internet{htonl(address)};
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &internet, text, sizeof text);
}

std::optional<NetworkInterface> FindInterface(const std::string& text) {
  const std::string wanted = text == "localhost" ? "127.0.0.1" : text;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return {};
  std::optional<NetworkInterface> found;
  for (const ifaddrs* entry = list; entry != nullptr && !found; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    const NetworkInterface interface {
      entry->ifa_name, addressIn(entry->ifa_addr), addressIn(entry->ifa_netmask)
    };
    if (wanted == interface.name || wanted == AddressText(interface.address)) found = interface;
  }
  freeifaddrs(list);
  return found;
}

}  // namespace vireo::simulator

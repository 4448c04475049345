// SPDX-License-Identifier: MIT
#include "camera/network_ports.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <cstring>

namespace vireo::host {
namespace {

std::uint32_t addressIn(const sockaddr* address) {
  sockaddr_in internet{};
  if (address != nullptr) std::memcpy(&internet, address, sizeof internet);
  return ntohl(internet.sin_addr.s_addr);
}

std::vector<NetworkPort> portsThat(bool areUp) {
  std::vector<NetworkPort> ports;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return ports;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    const bool isInternet = entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET;
    if (!isInternet || ((entry->ifa_flags & IFF_UP) != 0) != areUp) continue;
    ports.push_back({entry->ifa_name,
                     if_nametoindex(entry->ifa_name),
                     {addressIn(entry->ifa_addr), addressIn(entry->ifa_netmask)},
                     (entry->ifa_flags & IFF_POINTOPOINT) != 0});
  }
  freeifaddrs(list);
  return ports;
}

}  // namespace

std::vector<NetworkPort> NetworkPorts() {
  return portsThat(true);
}

std::vector<NetworkPort> NetworkPortsThatAreDown() {
  return portsThat(false);
}

}  // namespace vireo::host

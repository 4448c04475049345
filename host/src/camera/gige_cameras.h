// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vireo::host {

// GigE Vision cameras as they answer by themselves, without the camera library: it does not reach those of
// another subnet, and cannot give an address. IPv4 addresses are in the host's byte order.

using MacAddress = std::array<std::uint8_t, 6>;

/// Such as "00:11:22:aa:bb:cc".
std::string MacText(const MacAddress& mac);

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

/// An interface of this computer; one with several addresses is there several times.
struct NetworkPort {
  std::string interface;
  unsigned index = 0;  ///< the system's number of the interface
  Ipv4Network network;
};

/// Those that are up, loopback included.
std::vector<NetworkPort> NetworkPorts();

/// What a camera says of itself.
struct GigeCamera {
  NetworkPort port;  ///< over which it answered
  MacAddress mac{};
  Ipv4Network network;
  std::uint32_t gateway = 0;
  std::string vendor;
  std::string model;
  std::string version;
  std::string serial;
  std::string userName;

  /// False when it and this computer do not take each other for neighbours.
  bool IsNear() const {
    return port.network.Contains(network.address) && network.Contains(port.network.address);
  }
};

/// Asks on every interface who is there; takes a second.
std::vector<GigeCamera> FindGigeCameras();

/// Asks the camera at an address who it is. None when nobody answers within `patience`.
std::optional<GigeCamera> GigeCameraAt(const NetworkPort& port, std::uint32_t address,
                                       std::chrono::milliseconds patience);

/// Who controls the camera at an address: "free", a program's IP address, "busy" where the camera does not
/// say whose it is; empty when it does not answer.
std::string ControlText(std::uint32_t address);

/// Tells a camera to take an address at once, and until it is switched off; it hears that in whatever subnet
/// it is. A camera that a program controls does not obey. Throws Failure when nothing can be sent.
void ForceAddress(const GigeCamera& camera, const Ipv4Network& network, std::uint32_t gateway);

}  // namespace vireo::host

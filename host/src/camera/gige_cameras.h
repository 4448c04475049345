// SPDX-License-Identifier: MIT
// GigE Vision cameras as they answer by themselves, without the camera library.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "camera/gvcp.h"
#include "camera/network_ports.h"

namespace vireo::host {

using MacAddress = std::array<std::uint8_t, 6>;

/// Such as "00:11:22:aa:bb:cc".
std::string MacText(const MacAddress& mac);

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

/// Whether a camera goes by a name: MAC or IP address, serial number, user name, VENDOR-SERIAL or
/// VENDOR-MODEL-SERIAL, in upper or lower case.
bool IsNamed(const GigeCamera& camera, const std::string& name);

/// What an answer to a discovery says, without the port; none when it is not one.
std::optional<GigeCamera> GigeCameraFrom(const gvcp::Bytes& answer);

/// Asks on every interface who is there; takes a second.
std::vector<GigeCamera> FindGigeCameras();

/// Asks the camera at an address who it is. None when nobody answers within `patience`.
std::optional<GigeCamera> GigeCameraAt(const NetworkPort& port, std::uint32_t address,
                                       std::chrono::milliseconds patience);

/// The command that gives a camera of another subnet an address of its port's.
std::string AddressAdvice(const GigeCamera& camera);

/// Who controls the camera at an address: "free", a program's IP address, "busy" where the camera does not
/// say whose it is; empty when it does not answer.
std::string ControlText(std::uint32_t address);

/// Tells a camera to take an address at once, and until it is switched off; it hears that in whatever subnet
/// it is. A camera that a program controls does not obey. Throws Failure when nothing can be sent.
void ForceAddress(const GigeCamera& camera, const Ipv4Network& network, std::uint32_t gateway);

}  // namespace vireo::host

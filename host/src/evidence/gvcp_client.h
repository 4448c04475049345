// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "evidence/interfaces.h"

namespace vireo::host {

/// Registers that every GigE Vision camera has at the same place.
namespace gvcp {
inline constexpr std::uint32_t capability = 0x0934;
inline constexpr std::uint32_t heartbeatTimeout = 0x0938;  // milliseconds
inline constexpr std::uint32_t tickFrequencyHigh = 0x093c;
inline constexpr std::uint32_t tickFrequencyLow = 0x0940;
inline constexpr std::uint32_t controlPrivilege = 0x0a00;
inline constexpr std::uint32_t primaryApplication = 0x0a14;
inline constexpr std::uint32_t streamPort = 0x0d00;
inline constexpr std::uint32_t streamPacketSize = 0x0d04;
inline constexpr std::uint32_t streamPacketDelay = 0x0d08;  // ticks
inline constexpr std::uint32_t streamDestination = 0x0d18;

inline constexpr std::uint32_t canResend = 4;  // in capability
}  // namespace gvcp

/// A socket of its own; closed with the object.
class UdpClient {
 public:
  UdpClient();
  UdpClient(UdpClient&& other) noexcept;
  UdpClient& operator=(UdpClient&&) = delete;
  ~UdpClient();
  int Get() const { return descriptor_; }

 private:
  int descriptor_;
};

/// Reads registers of a camera beside whoever controls it, and tells how long each answer took. It asks once
/// and waits, where a camera library would ask again. One thread.
class GvcpClient {
 public:
  explicit GvcpClient(std::uint32_t address);

  struct Answer {
    std::optional<std::uint32_t> value;  ///< none: no answer, or the camera refused
    std::uint16_t status = 0;            ///< the camera's reason for that
    bool answered = false;
    bool portClosed = false;  ///< the computer at the address said that nobody listens there
    double milliseconds = 0.0;
  };
  Answer Read(std::uint32_t address, std::chrono::milliseconds patience);

 private:
  UdpClient socket_;
  std::uint16_t id_ = 0;
};

/// A camera that answered a broadcast; addresses in the host's byte order.
struct DiscoveredCamera {
  std::string interface;  ///< that it answered on
  std::uint32_t address = 0;
  std::uint32_t mask = 0;
  std::string mac;
  std::string vendor;
  std::string model;
  std::string serial;
};

/// What an answer to a discovery says; none when it is not one.
std::optional<DiscoveredCamera> DiscoveredFrom(const std::string& answer);

/// Asks on the interface of every address who is there, and takes answers for `patience`.
std::vector<DiscoveredCamera> DiscoverCameras(const std::vector<LocalAddress>& addresses,
                                              std::chrono::milliseconds patience);

}  // namespace vireo::host

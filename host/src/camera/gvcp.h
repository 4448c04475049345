// SPDX-License-Identifier: MIT
// The GigE Vision control protocol, as far as it is spoken beside the camera library. The library does not
// reach cameras of another subnet, cannot give an address, and opens a camera to read one register. Numbers
// are big-endian on the wire; IPv4 addresses are in the host's byte order here.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace vireo::host {

namespace gvcp {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint16_t controlPort = 3956;
inline constexpr std::size_t headerSize = 8;

enum class Code : std::uint16_t { Discovery = 0x0002, ForceIp = 0x0004, ReadRegister = 0x0080 };

enum class AnswerBy : std::uint8_t {
  Unicast = 0x01,
  BroadcastToo = 0x11,  ///< a camera of another subnet has no other way to answer
};

/// Registers that every GigE Vision camera has at the same place.
inline constexpr std::uint32_t capability = 0x0934;
inline constexpr std::uint32_t heartbeatTimeout = 0x0938;  // milliseconds
inline constexpr std::uint32_t tickFrequencyLow = 0x0940;
inline constexpr std::uint32_t controlPrivilege = 0x0a00;
inline constexpr std::uint32_t primaryApplication = 0x0a14;
inline constexpr std::uint32_t streamPort = 0x0d00;
inline constexpr std::uint32_t streamPacketSize = 0x0d04;
inline constexpr std::uint32_t streamPacketDelay = 0x0d08;  // ticks
inline constexpr std::uint32_t streamDestination = 0x0d18;

inline constexpr std::uint32_t canResend = 4;  // in capability

/// A status in answers: under exclusive access nobody else may read.
inline constexpr std::uint16_t accessDenied = 0x8006;

/// A whole command. `id` comes back in its answer; it is not 0.
Bytes Command(Code code, AnswerBy by, std::uint16_t id, const Bytes& payload = {});
/// Whether a datagram answers that command.
bool Answers(const Bytes& datagram, Code code, std::uint16_t id);

/// Appends a number of `size` bytes.
void Put(Bytes& bytes, std::uint32_t number, int size);
/// The number of `size` bytes there; throws std::out_of_range.
std::uint32_t NumberAt(const Bytes& bytes, std::size_t at, std::size_t size);

}  // namespace gvcp

/// Reads registers of a camera beside whoever controls it, and tells how long each answer took. It asks once
/// and waits, where a camera library would ask again. One thread.
class GvcpClient {
 public:
  explicit GvcpClient(std::uint32_t address);
  GvcpClient(const GvcpClient&) = delete;
  GvcpClient& operator=(const GvcpClient&) = delete;
  ~GvcpClient();

  struct Answer {
    std::optional<std::uint32_t> value;  ///< none: no answer, or the camera refused
    std::uint16_t status = 0;            ///< the camera's reason for that
    bool answered = false;
    bool portClosed = false;  ///< the computer at the address said that nobody listens there
    int sendError = 0;        ///< the system's reason why nothing could be sent
    double milliseconds = 0.0;
  };
  Answer Read(std::uint32_t address, std::chrono::milliseconds patience);

 private:
  int socket_;
  int connectError_ = 0;
  std::uint16_t id_ = 0;
};

}  // namespace vireo::host

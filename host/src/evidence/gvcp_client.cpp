// SPDX-License-Identifier: MIT
#include "evidence/gvcp_client.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vireo::host {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::uint16_t controlPort = 3956;
constexpr std::uint8_t key = 0x42;
constexpr std::uint8_t wantsAnswer = 0x01;
constexpr std::uint8_t broadcastAnswer = 0x10;  // from a camera that has no route to this computer
constexpr std::uint16_t discovery = 0x0002;
constexpr std::uint16_t readRegister = 0x0080;
constexpr std::uint16_t pendingAnswer = 0x0089;
constexpr std::uint16_t discoveryId = 0xffff;
constexpr std::size_t headerSize = 8;
constexpr std::size_t discoverySize = 248;  // bytes behind the header

std::string bigEndian(std::initializer_list<std::uint16_t> words) {
  std::string bytes;
  for (const std::uint16_t word : words) {
    bytes += static_cast<char>(word >> 8);
    bytes += static_cast<char>(word & 0xff);
  }
  return bytes;
}

std::uint16_t shortAt(const std::string& bytes, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[at + i]); };
  return static_cast<std::uint16_t>(byte(0) << 8 | byte(1));
}

std::uint32_t longAt(const std::string& bytes, std::size_t at) {
  return std::uint32_t{shortAt(bytes, at)} << 16 | shortAt(bytes, at + 2);
}

std::string textAt(const std::string& bytes, std::size_t at, std::size_t size) {
  return bytes.substr(at, size).c_str();  // to the first zero
}

sockaddr_in internetAddress(std::uint32_t address, std::uint16_t port) {
  sockaddr_in internet{};
  internet.sin_family = AF_INET;
  internet.sin_addr.s_addr = htonl(address);
  internet.sin_port = htons(port);
  return internet;
}

int millisecondsUntil(Clock::time_point end) {
  const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
  return static_cast<int>(std::max<milliseconds::rep>(left.count(), 0));
}

// The next datagram; none when none comes until `end`, or an error does.
std::optional<std::string> receive(int socket, Clock::time_point end) {
  pollfd ready{socket, POLLIN, 0};
  if (poll(&ready, 1, millisecondsUntil(end)) <= 0) return std::nullopt;
  std::array<char, 2048> bytes{};
  const ssize_t size = recv(socket, bytes.data(), bytes.size(), 0);
  if (size < 0) return std::nullopt;
  return std::string(bytes.data(), static_cast<std::size_t>(size));
}

// A socket that sends over one interface and takes answers to its own port, broadcast ones too where it may.
UdpClient broadcastSocket(const LocalAddress& from) {
  UdpClient socket;
  const int on = 1;
  setsockopt(socket.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
  const bool isBound = setsockopt(socket.Get(), SOL_SOCKET, SO_BINDTODEVICE, from.interface.c_str(),
                                  static_cast<socklen_t>(from.interface.size())) == 0;
  const sockaddr_in local = internetAddress(isBound ? INADDR_ANY : from.address, 0);
  if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) return UdpClient();
  return socket;
}

void askWhoIsThere(int socket) {
  const std::string question = bigEndian(
      {static_cast<std::uint16_t>(key << 8 | wantsAnswer | broadcastAnswer), discovery, 0, discoveryId});
  const sockaddr_in everybody = internetAddress(INADDR_BROADCAST, controlPort);
  sendto(socket, question.data(), question.size(), 0, reinterpret_cast<const sockaddr*>(&everybody),
         sizeof everybody);
}

}  // namespace

UdpClient::UdpClient() : descriptor_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

UdpClient::UdpClient(UdpClient&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

UdpClient::~UdpClient() {
  if (descriptor_ >= 0) close(descriptor_);
}

GvcpClient::GvcpClient(std::uint32_t address) {
  const sockaddr_in camera = internetAddress(address, controlPort);
  [[maybe_unused]] const int outcome =
      connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&camera), sizeof camera);
}

GvcpClient::Answer GvcpClient::Read(std::uint32_t address, milliseconds patience) {
  id_ = static_cast<std::uint16_t>(id_ % 0xfffe + 1);  // 0 is none, the last one is for discovery
  const std::string command =
      bigEndian({static_cast<std::uint16_t>(key << 8 | wantsAnswer), readRegister, 4, id_,
                 static_cast<std::uint16_t>(address >> 16), static_cast<std::uint16_t>(address)});
  const auto start = Clock::now();
  auto end = start + patience;
  Answer answer;
  answer.portClosed = send(socket_.Get(), command.data(), command.size(), 0) < 0 && errno == ECONNREFUSED;
  while (!answer.portClosed && !answer.answered && Clock::now() < end) {
    errno = 0;
    const auto bytes = receive(socket_.Get(), end);
    answer.portClosed = !bytes && errno == ECONNREFUSED;
    if (!bytes || bytes->size() < headerSize || shortAt(*bytes, 6) != id_) continue;
    if (shortAt(*bytes, 2) == pendingAnswer && bytes->size() >= headerSize + 4)
      end = Clock::now() + milliseconds(shortAt(*bytes, headerSize + 2)) + patience;
    if (shortAt(*bytes, 2) != readRegister + 1) continue;
    answer.answered = true;
    answer.status = shortAt(*bytes, 0);
    if (answer.status == 0 && bytes->size() >= headerSize + 4) answer.value = longAt(*bytes, headerSize);
  }
  answer.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  return answer;
}

std::optional<DiscoveredCamera> DiscoveredFrom(const std::string& answer) {
  if (answer.size() < headerSize + discoverySize || shortAt(answer, 2) != discovery + 1) return std::nullopt;
  const std::string registers = answer.substr(headerSize);
  DiscoveredCamera camera;
  for (std::size_t i = 0; i < 6; ++i)
    camera.mac += fmt::format("{}{:02x}", i == 0 ? "" : ":", static_cast<std::uint8_t>(registers[0x0a + i]));
  camera.address = longAt(registers, 0x24);
  camera.mask = longAt(registers, 0x34);
  camera.vendor = textAt(registers, 0x48, 32);
  camera.model = textAt(registers, 0x68, 32);
  camera.serial = textAt(registers, 0xd8, 16);
  return camera;
}

std::vector<DiscoveredCamera> DiscoverCameras(const std::vector<LocalAddress>& addresses,
                                              milliseconds patience) {
  std::vector<UdpClient> sockets;
  for (const LocalAddress& from : addresses) {
    sockets.push_back(broadcastSocket(from));
    askWhoIsThere(sockets.back().Get());
  }
  std::vector<DiscoveredCamera> cameras;
  const auto end = Clock::now() + patience;
  std::vector<pollfd> waiting;
  for (const UdpClient& socket : sockets) waiting.push_back({socket.Get(), POLLIN, 0});
  while (poll(waiting.data(), waiting.size(), millisecondsUntil(end)) > 0) {
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      if (waiting[i].revents == 0) continue;
      auto camera = DiscoveredFrom(receive(waiting[i].fd, Clock::now()).value_or(""));
      if (!camera) continue;
      camera->interface = addresses[i].interface;
      const auto isSame = [&](const DiscoveredCamera& known) {
        return known.interface == camera->interface && known.mac == camera->mac;
      };
      if (std::none_of(cameras.begin(), cameras.end(), isSame)) cameras.push_back(*std::move(camera));
    }
    if (Clock::now() >= end) break;
  }
  return cameras;
}

}  // namespace vireo::host

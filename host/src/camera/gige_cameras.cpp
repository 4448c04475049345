// SPDX-License-Identifier: MIT
#include "camera/gige_cameras.h"

#include <fmt/format.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <functional>
#include <system_error>
#include <utility>

#include "terminal/failure.h"
#include "terminal/ipv4.h"

namespace vireo::host {
namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t controlPort = 3956;
constexpr std::uint8_t key = 0x42;
constexpr std::uint8_t wantsAnswer = 0x01;
constexpr std::uint8_t byBroadcastToo = 0x10;  // a camera of another subnet has no other way to answer
constexpr std::uint16_t discovery = 0x0002;
constexpr std::uint16_t forceIp = 0x0004;
constexpr std::uint16_t readRegister = 0x0080;
constexpr std::uint16_t requestId = 0xffff;  // that cameras expect of a discovery
constexpr std::size_t headerSize = 8;
constexpr std::size_t identitySize = 248;
constexpr std::uint16_t accessDenied = 0x8006;
constexpr std::uint32_t controlPrivilege = 0x0a00;
constexpr std::uint32_t primaryApplication = 0x0a14;
constexpr std::chrono::milliseconds answerTime(500);
constexpr std::chrono::milliseconds discoveryTime(1000);

void put(Bytes& bytes, std::uint32_t number, int size) {
  for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
}

std::uint32_t numberAt(const Bytes& bytes, std::size_t at, std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < size; ++i) number = number << 8 | bytes.at(at + i);
  return number;
}

std::string textAt(const Bytes& bytes, std::size_t at, std::size_t size) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  const auto end = begin + static_cast<std::ptrdiff_t>(size);
  return {begin, std::find(begin, end, 0)};
}

Bytes command(std::uint8_t flags, std::uint16_t code, const Bytes& payload = {}) {
  Bytes bytes = {key, flags};
  put(bytes, code, 2);
  put(bytes, static_cast<std::uint32_t>(payload.size()), 2);
  put(bytes, requestId, 2);
  bytes.insert(bytes.end(), payload.begin(), payload.end());
  return bytes;
}

/// A datagram that came, and the interface that it came in by.
struct Datagram {
  Bytes bytes;
  unsigned interfaceIndex = 0;

  bool Answers(std::uint16_t code) const {
    return bytes.size() >= headerSize && numberAt(bytes, 2, 2) == code + 1u &&
           numberAt(bytes, 6, 2) == requestId;
  }
};

/// Room for the system's note on a datagram's interface.
struct PortNote {
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> bytes{};

  void Attach(msghdr& message) {
    message.msg_control = bytes.data();
    message.msg_controllen = bytes.size();
  }
};

class UdpSocket {
 public:
  UdpSocket() : descriptor_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    setsockopt(descriptor_, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    setsockopt(descriptor_, IPPROTO_IP, IP_PKTINFO, &on, sizeof on);
  }
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;
  ~UdpSocket() { ::close(descriptor_); }

  /// Over that interface, whatever the routes say. False when the system refuses.
  bool Send(const NetworkPort& port, std::uint32_t to, Bytes bytes) const;
  /// Calls `take` with what comes until `end`, or until it returns true.
  void Receive(Clock::time_point end, const std::function<bool(const Datagram&)>& take) const;

 private:
  std::optional<Datagram> receiveOne() const;

  int descriptor_;
};

bool UdpSocket::Send(const NetworkPort& port, std::uint32_t to, Bytes bytes) const {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(to);
  address.sin_port = htons(controlPort);
  iovec part{bytes.data(), bytes.size()};
  PortNote note;
  msghdr message{};
  message.msg_name = &address;
  message.msg_namelen = sizeof address;
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  note.Attach(message);
  cmsghdr* const header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = IPPROTO_IP;
  header->cmsg_type = IP_PKTINFO;
  header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
  in_pktinfo info{};
  info.ipi_ifindex = static_cast<int>(port.index);
  info.ipi_spec_dst.s_addr = htonl(port.network.address);
  std::memcpy(CMSG_DATA(header), &info, sizeof info);
  return sendmsg(descriptor_, &message, 0) >= 0;
}

std::optional<Datagram> UdpSocket::receiveOne() const {
  Datagram datagram{Bytes(2048), 0};
  iovec part{datagram.bytes.data(), datagram.bytes.size()};
  PortNote note;
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  note.Attach(message);
  const ssize_t size = recvmsg(descriptor_, &message, MSG_DONTWAIT);
  if (size < 0) return std::nullopt;
  datagram.bytes.resize(static_cast<std::size_t>(size));
  if (const cmsghdr* const header = CMSG_FIRSTHDR(&message); header != nullptr) {
    in_pktinfo info{};
    std::memcpy(&info, CMSG_DATA(header), sizeof info);
    datagram.interfaceIndex = static_cast<unsigned>(info.ipi_ifindex);
  }
  return datagram;
}

void UdpSocket::Receive(Clock::time_point end, const std::function<bool(const Datagram&)>& take) const {
  for (auto now = Clock::now(); now < end; now = Clock::now()) {
    pollfd ready{descriptor_, POLLIN, 0};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
    if (poll(&ready, 1, static_cast<int>(left.count())) <= 0) continue;
    if (const auto datagram = receiveOne(); datagram && take(*datagram)) return;
  }
}

std::uint32_t addressIn(const sockaddr* address) {
  sockaddr_in internet{};
  if (address != nullptr) std::memcpy(&internet, address, sizeof internet);
  return ntohl(internet.sin_addr.s_addr);
}

std::optional<GigeCamera> cameraFrom(const Datagram& answer) {
  if (!answer.Answers(discovery) || answer.bytes.size() < headerSize + identitySize) return std::nullopt;
  const Bytes identity(answer.bytes.begin() + headerSize, answer.bytes.end());
  GigeCamera camera;
  std::copy_n(identity.begin() + 0x0a, camera.mac.size(), camera.mac.begin());
  camera.network = {numberAt(identity, 0x24, 4), numberAt(identity, 0x34, 4)};
  camera.gateway = numberAt(identity, 0x44, 4);
  camera.vendor = textAt(identity, 0x48, 32);
  camera.model = textAt(identity, 0x68, 32);
  camera.version = textAt(identity, 0x88, 32);
  camera.serial = textAt(identity, 0xd8, 16);
  camera.userName = textAt(identity, 0xe8, 16);
  return camera;
}

// The address of the interface that is nearest to the camera.
std::optional<NetworkPort> portOf(const std::vector<NetworkPort>& ports, unsigned index,
                                  std::uint32_t camera) {
  std::optional<NetworkPort> best;
  for (const NetworkPort& port : ports) {
    if (port.index == index && (!best || port.network.Contains(camera))) best = port;
  }
  return best;
}

}  // namespace

std::string MacText(const MacAddress& mac) {
  return fmt::format("{:02x}", fmt::join(mac, ":"));
}

std::string Ipv4Network::Text() const {
  return fmt::format("{}/{}", Ipv4Text(address), std::popcount(mask));
}

std::string Ipv4Network::SubnetText() const {
  return Ipv4Network{address & mask, mask}.Text();
}

std::vector<NetworkPort> NetworkPorts() {
  std::vector<NetworkPort> ports;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return ports;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    if ((entry->ifa_flags & IFF_UP) == 0 || (entry->ifa_flags & IFF_POINTOPOINT) != 0) continue;
    ports.push_back({entry->ifa_name,
                     if_nametoindex(entry->ifa_name),
                     {addressIn(entry->ifa_addr), addressIn(entry->ifa_netmask)}});
  }
  freeifaddrs(list);
  return ports;
}

std::vector<GigeCamera> FindGigeCameras() {
  const std::vector<NetworkPort> ports = NetworkPorts();
  const UdpSocket socket;
  for (const NetworkPort& port : ports)
    socket.Send(port, INADDR_BROADCAST, command(wantsAnswer | byBroadcastToo, discovery));
  std::vector<GigeCamera> cameras;
  socket.Receive(Clock::now() + discoveryTime, [&](const Datagram& answer) {
    std::optional<GigeCamera> camera = cameraFrom(answer);
    const auto port = camera ? portOf(ports, answer.interfaceIndex, camera->network.address) : std::nullopt;
    if (!port) return false;
    camera->port = *port;
    const auto same = std::find_if(cameras.begin(), cameras.end(),
                                   [&](const GigeCamera& known) { return known.mac == camera->mac; });
    if (same == cameras.end()) {
      cameras.push_back(*camera);
    } else if (!same->IsNear()) {
      *same = *camera;
    }
    return false;
  });
  return cameras;
}

std::optional<GigeCamera> GigeCameraAt(const NetworkPort& port, std::uint32_t address,
                                       std::chrono::milliseconds patience) {
  const UdpSocket socket;
  std::optional<GigeCamera> camera;
  if (!socket.Send(port, address, command(wantsAnswer, discovery))) return camera;
  socket.Receive(Clock::now() + patience, [&](const Datagram& answer) {
    camera = cameraFrom(answer);
    return camera.has_value();
  });
  if (camera) camera->port = port;
  return camera;
}

std::string ControlText(std::uint32_t address) {
  const UdpSocket socket;
  const auto read = [&](std::uint32_t where) -> std::optional<Datagram> {
    std::optional<Datagram> taken;
    Bytes payload;
    put(payload, where, 4);
    if (!socket.Send({}, address, command(wantsAnswer, readRegister, payload))) return taken;
    socket.Receive(Clock::now() + answerTime, [&](const Datagram& answer) {
      if (answer.Answers(readRegister)) taken = answer;
      return taken.has_value();
    });
    return taken;
  };
  const auto valueOf = [](const Datagram& answer) {
    return answer.bytes.size() >= headerSize + 4 ? numberAt(answer.bytes, headerSize, 4) : 0;
  };
  const auto privilege = read(controlPrivilege);
  if (!privilege) return "";
  // Under exclusive access nobody else may read.
  if (numberAt(privilege->bytes, 0, 2) != accessDenied && valueOf(*privilege) == 0) return "free";
  const auto holder = read(primaryApplication);
  const std::uint32_t application = holder ? valueOf(*holder) : 0;
  return application == 0 ? "busy" : Ipv4Text(application);
}

void ForceAddress(const GigeCamera& camera, const Ipv4Network& network, std::uint32_t gateway) {
  Bytes payload(56);
  std::copy(camera.mac.begin(), camera.mac.end(), payload.begin() + 2);
  const auto set = [&](std::ptrdiff_t at, std::uint32_t number) {
    Bytes bytes;
    put(bytes, number, 4);
    std::copy(bytes.begin(), bytes.end(), payload.begin() + at);
  };
  set(20, network.address);
  set(36, network.mask);
  set(52, gateway);
  const UdpSocket socket;
  if (socket.Send(camera.port, INADDR_BROADCAST, command(wantsAnswer | byBroadcastToo, forceIp, payload)))
    return;
  throw Failure(ExitStatus::Failed, fmt::format("nothing can be sent over {}: {}", camera.port.interface,
                                                std::generic_category().message(errno)));
}

}  // namespace vireo::host

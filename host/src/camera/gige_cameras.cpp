// SPDX-License-Identifier: MIT
#include "camera/gige_cameras.h"

#include <fmt/format.h>
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
#include "terminal/text.h"

namespace vireo::host {
namespace {

using Clock = std::chrono::steady_clock;
using gvcp::AnswerBy;
using gvcp::Bytes;
using gvcp::Code;
using gvcp::Command;
using gvcp::NumberAt;

constexpr std::uint16_t requestId = 0xffff;  // that cameras expect of a discovery
constexpr std::size_t identitySize = 248;
constexpr std::chrono::milliseconds answerTime(500);
constexpr std::chrono::milliseconds discoveryTime(1000);

std::string textAt(const Bytes& bytes, std::size_t at, std::size_t size) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  const auto end = begin + static_cast<std::ptrdiff_t>(size);
  return {begin, std::find(begin, end, 0)};
}

// A datagram that came, and the interface that it came in by.
struct Datagram {
  Bytes bytes;
  unsigned interfaceIndex = 0;
};

// Room for the system's note on a datagram's interface.
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

  // Over that interface, whatever the routes say. False when the system refuses.
  bool Send(const NetworkPort& port, std::uint32_t to, Bytes bytes) const;
  // Calls `take` with what comes until `end`, or until it returns true.
  void Receive(Clock::time_point end, const std::function<bool(const Datagram&)>& take) const;

 private:
  std::optional<Datagram> receiveOne() const;

  int descriptor_;
};

bool UdpSocket::Send(const NetworkPort& port, std::uint32_t to, Bytes bytes) const {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(to);
  address.sin_port = htons(gvcp::controlPort);
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

bool IsNamed(const GigeCamera& camera, const std::string& name) {
  const std::string names[] = {MacText(camera.mac),
                               Ipv4Text(camera.network.address),
                               camera.serial,
                               camera.userName,
                               camera.vendor + '-' + camera.serial,
                               camera.vendor + '-' + camera.model + '-' + camera.serial};
  return !name.empty() && std::any_of(std::begin(names), std::end(names),
                                      [&](const std::string& one) { return Lowered(one) == Lowered(name); });
}

std::optional<GigeCamera> GigeCameraFrom(const Bytes& answer) {
  if (!gvcp::Answers(answer, Code::Discovery, requestId) || answer.size() < gvcp::headerSize + identitySize)
    return std::nullopt;
  const Bytes identity(answer.begin() + gvcp::headerSize, answer.end());
  GigeCamera camera;
  std::copy_n(identity.begin() + 0x0a, camera.mac.size(), camera.mac.begin());
  camera.network = {NumberAt(identity, 0x24, 4), NumberAt(identity, 0x34, 4)};
  camera.gateway = NumberAt(identity, 0x44, 4);
  camera.vendor = textAt(identity, 0x48, 32);
  camera.model = textAt(identity, 0x68, 32);
  camera.version = textAt(identity, 0x88, 32);
  camera.serial = textAt(identity, 0xd8, 16);
  camera.userName = textAt(identity, 0xe8, 16);
  return camera;
}

std::vector<GigeCamera> FindGigeCameras() {
  const std::vector<NetworkPort> ports = NetworkPorts();
  const UdpSocket socket;
  for (const NetworkPort& port : ports) {
    if (!port.isPointToPoint)
      socket.Send(port, INADDR_BROADCAST, Command(Code::Discovery, AnswerBy::BroadcastToo, requestId));
  }
  std::vector<GigeCamera> cameras;
  socket.Receive(Clock::now() + discoveryTime, [&](const Datagram& answer) {
    std::optional<GigeCamera> camera = GigeCameraFrom(answer.bytes);
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
  if (!socket.Send(port, address, Command(Code::Discovery, AnswerBy::Unicast, requestId))) return camera;
  socket.Receive(Clock::now() + patience, [&](const Datagram& answer) {
    camera = GigeCameraFrom(answer.bytes);
    return camera.has_value();
  });
  if (camera) camera->port = port;
  return camera;
}

std::string AddressAdvice(const GigeCamera& camera) {
  const Ipv4Network& here = camera.port.network;
  return fmt::format("'vireo-cam address {} IP/{}' gives it an address of {}", MacText(camera.mac),
                     std::popcount(here.mask), here.SubnetText());
}

std::string ControlText(std::uint32_t address) {
  GvcpClient camera(address);
  const auto read = [&](std::uint32_t where) {  // an answer can be lost
    const GvcpClient::Answer answer = camera.Read(where, answerTime);
    return answer.answered ? answer : camera.Read(where, answerTime);
  };
  const GvcpClient::Answer privilege = read(gvcp::controlPrivilege);
  if (!privilege.answered) return "";
  if (privilege.status != gvcp::accessDenied && privilege.value.value_or(0) == 0) return "free";
  const std::uint32_t holder = read(gvcp::primaryApplication).value.value_or(0);
  return holder == 0 ? "busy" : Ipv4Text(holder);
}

void ForceAddress(const GigeCamera& camera, const Ipv4Network& network, std::uint32_t gateway) {
  Bytes payload(56);
  std::copy(camera.mac.begin(), camera.mac.end(), payload.begin() + 2);
  const auto set = [&](std::ptrdiff_t at, std::uint32_t number) {
    Bytes bytes;
    gvcp::Put(bytes, number, 4);
    std::copy(bytes.begin(), bytes.end(), payload.begin() + at);
  };
  set(20, network.address);
  set(36, network.mask);
  set(52, gateway);
  const UdpSocket socket;
  if (socket.Send(camera.port, INADDR_BROADCAST,
                  Command(Code::ForceIp, AnswerBy::BroadcastToo, requestId, payload)))
    return;
  throw Failure(ExitStatus::Failed, fmt::format("nothing can be sent over {}: {}", camera.port.interface,
                                                std::generic_category().message(errno)));
}

}  // namespace vireo::host

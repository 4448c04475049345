// SPDX-License-Identifier: MIT
#include "simulator/gige/gige_camera.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "simulator/faults/spoil.h"
#include "simulator/gige/bootstrap.h"

namespace vireo::simulator {
namespace {

using std::chrono::milliseconds;

constexpr std::uint16_t controlPort = 3956;
constexpr std::size_t mostKeptFrames = 32;
constexpr std::size_t longestCommand = 576;
constexpr AcknowledgeLayout acknowledge = {.status = 0, .length = 4, .id = 6, .headerSize = 8};
constexpr std::size_t mostLateAnswers = 1000;
constexpr milliseconds patience(20);  // until a thread sees that it should end

std::runtime_error cannotRun(const std::string& interface, const std::string& reason) {
  return std::runtime_error("no camera can run on " + interface + ": " + reason);
}

NetworkInterface interfaceNamed(const std::string& text) {
  const auto found = FindInterface(text);
  if (!found) throw cannotRun(text, "it is not an interface of this computer; 'ip address' shows them");
  return *found;
}

sockaddr_in internetAddress(const Endpoint& endpoint) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(endpoint.address);
  address.sin_port = htons(endpoint.port);
  return address;
}

// A UDP socket on that place, or one with the descriptor -1.
Socket boundSocket(const Endpoint& endpoint, bool shared = false) {
  Socket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const int on = 1;
  setsockopt(socket.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
  if (shared) {
    setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(socket.Get(), IPPROTO_IP, IP_PKTINFO, &on, sizeof on);
  }
  const sockaddr_in address = internetAddress(endpoint);
  const bool bound = bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  return bound ? std::move(socket) : Socket();
}

std::uint16_t portOf(const Socket& socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

// Locally administered, and the same whenever a camera has this address.
std::uint64_t macFor(std::uint32_t address) {
  return 0x020000000000 | address;
}

struct Datagram {
  std::array<std::uint8_t, longestCommand> bytes;
  std::size_t size = 0;
  Endpoint sender;
  int interfaceIndex = 0;  // it came in over; only where the socket asks for it

  ByteView View() const { return ByteView(bytes).first(size); }
};

bool receive(int socket, Datagram& datagram) {
  sockaddr_in sender{};
  iovec part{datagram.bytes.data(), datagram.bytes.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> control{};
  msghdr message{};
  message.msg_name = &sender;
  message.msg_namelen = sizeof sender;
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t size = recvmsg(socket, &message, 0);
  if (size < 0) return false;
  datagram.size = static_cast<std::size_t>(size);
  datagram.sender = {ntohl(sender.sin_addr.s_addr), ntohs(sender.sin_port)};
  if (const cmsghdr* const header = CMSG_FIRSTHDR(&message); header != nullptr) {
    in_pktinfo info{};
    std::memcpy(&info, CMSG_DATA(header), sizeof info);
    datagram.interfaceIndex = info.ipi_ifindex;
  }
  return true;
}

// Whether the answer may be a broadcast: a client of another subnet gets no other.
bool takesBroadcast(ByteView command) {
  constexpr std::uint8_t allowed = 0x10;
  constexpr std::uint16_t forceIp = 0x0004;
  const bool isForAll =
      GvcpServer::IsDiscovery(command) || ReadNumber<std::endian::big, std::uint16_t>(command, 2) == forceIp;
  return isForAll && (command[1] & allowed) != 0;
}

void sendTo(int socket, const Endpoint& to, ByteView bytes) {
  const sockaddr_in address = internetAddress(to);
  sendto(socket, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

}  // namespace

Socket::Socket(Socket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Socket& Socket::operator=(Socket&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

Socket::~Socket() {
  if (descriptor_ >= 0) close(descriptor_);
}

GigeCamera::GigeCamera(CameraModel& model, const GigeOptions& options)
    : model_(model),
      options_(options),
      interface_(interfaceNamed(options.interface)),
      address_(interface_.address),
      stream_(boundSocket({interface_.address, 0})),
      server_(model, *this,
              {macFor(interface_.address), interface_.address, interface_.subnetMask, portOf(stream_)}),
      faults_(options.faults),
      sender_(
          stream_.Get(), [this] { return faults_.Next(Channel::Packet); }, [this] { stop_ = true; }),
      resender_(
          stream_.Get(), [this] { return faults_.Next(Channel::Resend); }, [this] { stop_ = true; }) {
  openControl(interface_.address);
  if (control_.Get() < 0)
    throw cannotRun(options.interface, "its port 3956 is taken, another camera may run there");
  broadcast_ = boundSocket({INADDR_BROADCAST, controlPort}, true);
  commandThread_ = std::thread([this] { answerCommands(); });
  streamThread_ = std::thread([this] { streamFrames(); });
}

GigeCamera::~GigeCamera() {
  stop_ = true;
  commandThread_.join();
  streamThread_.join();
}

std::string GigeCamera::Address() const {
  return AddressText(address_);
}

void GigeCamera::openControl(std::uint32_t address) {
  if (Socket opened = boundSocket({address, controlPort}); opened.Get() >= 0) {
    control_ = std::move(opened);
    address_ = address;
  }
}

void GigeCamera::answerCommands() {
  while (!stop_) {
    std::array<pollfd, 2> sockets = {{{control_.Get(), POLLIN, 0}, {broadcast_.Get(), POLLIN, 0}}};
    const milliseconds wait = lateAnswers_.empty() ? patience : milliseconds(1);
    poll(sockets.data(), sockets.size(), static_cast<int>(wait.count()));
    for (const pollfd& ready : sockets)
      if ((ready.revents & POLLIN) != 0) answerFrom(ready.fd, ready.fd == broadcast_.Get());
    sendDueAnswers();
    server_.CheckHeartbeat(Clock::now());
    resender_.SendLate();
  }
}

void GigeCamera::answerFrom(int socket, bool isBroadcast) {
  Datagram datagram;
  if (!receive(socket, datagram)) return;
  const bool isHere =
      static_cast<unsigned>(datagram.interfaceIndex) == if_nametoindex(interface_.name.c_str());
  if (isBroadcast && !isHere) return;
  Bytes answer = server_.Answer(datagram.View(), datagram.sender, Clock::now());
  if (answer.empty()) return;
  const bool isCounted = !GvcpServer::IsDiscovery(datagram.View());
  const Fault fault = isCounted ? faults_.Next(Channel::Command) : Fault();
  Endpoint to = datagram.sender;
  const std::uint32_t mask = model_.Register(bootstrap::subnetMask);
  const bool isFar = ((to.address ^ address_) & mask) != 0;
  if (isFar && takesBroadcast(datagram.View())) to.address = INADDR_BROADCAST;
  send(to, fault, std::move(answer), datagram.View());
}

void GigeCamera::send(const Endpoint& to, const Fault& fault, Bytes answer, ByteView command) {
  const int socket = control_.Get();
  if (fault.kind == Fault::Kind::Lost) return;
  if (fault.kind == Fault::Kind::Disconnect) {
    stop_ = true;
    return;
  }
  if (fault.kind == Fault::Kind::Pending)
    sendTo(socket, to, GvcpServer::PendingAcknowledge(command, fault.value + 200));
  if (fault.kind == Fault::Kind::Pending || fault.kind == Fault::Kind::Late) {
    if (lateAnswers_.size() < mostLateAnswers)
      lateAnswers_.push_back({to, std::move(answer), Clock::now() + milliseconds(fault.value)});
    return;
  }
  if (fault.kind == Fault::Kind::Duplicate) sendTo(socket, to, answer);
  Spoil<std::endian::big>(answer, fault, acknowledge);
  sendTo(socket, to, answer);
}

void GigeCamera::sendDueAnswers() {
  std::erase_if(lateAnswers_, [&](const LateAnswer& late) {
    server_.KeepControl(late.to, Clock::now());
    if (late.due > Clock::now()) return false;
    sendTo(control_.Get(), late.to, late.bytes);
    return true;
  });
}

PacketRoute GigeCamera::route() const {
  return {{model_.Register(bootstrap::streamDestination),
           static_cast<std::uint16_t>(model_.Register(bootstrap::streamPort))},
          options_.mtu,
          options_.bitsPerSecond,
          std::chrono::nanoseconds(model_.Register(bootstrap::streamPacketDelay))};
}

void GigeCamera::streamFrames() {
  std::uint64_t block = options_.firstBlock;
  std::uint32_t port = 0;
  while (!stop_) {
    sender_.SendLate();
    const auto exposure = model_.WaitForFrame(Clock::now() + patience);
    // After the wait, in which a client may have opened a stream: its first frame has the first id.
    if (std::exchange(port, model_.Register(bootstrap::streamPort)) != port) block = options_.firstBlock;
    if (!exposure || port == 0) continue;
    streamFrame(*exposure, block);
    block = GvspPackets::NextBlock(block, options_.extendedIds);
  }
}

GigeCamera::SentFrame& GigeCamera::oldestFrame(std::size_t imageSize) {
  const std::size_t kept = std::clamp<std::size_t>(options_.resendMemory / imageSize, 2, mostKeptFrames);
  while (frames_.size() > kept) frames_.pop_front();  // the size of the picture has changed
  if (frames_.size() < kept) {
    frames_.emplace_back();
  } else {
    frames_.splice(frames_.end(), frames_, frames_.begin());
  }
  return frames_.back();
}

void GigeCamera::streamFrame(const Exposure& exposure, std::uint64_t block) {
  SentFrame* frame = nullptr;
  {
    const std::lock_guard lock(framesMutex_);
    SentFrame& next = oldestFrame(exposure.picture.ImageSize());
    frame = &next;
    next.frame.exposure = exposure;
    FillPicture(exposure.picture, block, next.frame.image);
    next.packets.emplace(next.frame, block, model_.Register(bootstrap::streamPacketSize) & 0xffff,
                         options_.extendedIds);
  }
  sender_.Send(*frame->packets, 0, frame->packets->Count() - 1, route(), stop_);
}

void GigeCamera::Resend(const ResendRequest& request) {
  const std::lock_guard lock(framesMutex_);
  for (const SentFrame& sent : frames_) {
    if (!sent.packets || sent.packets->Block() != request.block) continue;
    PacketRoute route = this->route();
    route.bitsPerSecond = 0;
    return resender_.Send(*sent.packets, request.firstPacket, request.lastPacket, route, stop_);
  }
  answerUnavailable(request);
}

// One packet says it of all that were asked for, and names the first.
void GigeCamera::answerUnavailable(const ResendRequest& request) {
  const Frame none;
  GvspPacket packet;
  GvspPackets(none, request.block, bootstrap::leastPacketSize, options_.extendedIds)
      .MakeError(request.firstPacket, Status::PacketUnavailable, packet);
  sendTo(stream_.Get(), route().destination, ByteView(packet.head).first(packet.headSize));
}

void GigeCamera::FireTestPacket() {
  const std::uint32_t size = model_.Register(bootstrap::streamPacketSize) & 0xffff;
  if (options_.mtu != 0 && size > options_.mtu) return;
  sendTo(stream_.Get(), route().destination, Bytes(size - 28));
}

bool GigeCamera::ForceAddress(std::uint32_t address) {
  const bool isInSubnet = ((address ^ interface_.address) & interface_.subnetMask) == 0;
  const auto other = FindInterface(AddressText(address));
  if (address == 0 || (!isInSubnet && (!other || other->name != interface_.name))) return false;
  if (address == address_) return true;
  openControl(address);
  if (address != address_) return false;
  // Under the old descriptor, which both senders know. Without it frames come from the old address.
  if (const Socket moved = boundSocket({address, 0}); moved.Get() >= 0)
    dup3(moved.Get(), stream_.Get(), O_CLOEXEC);
  model_.SetRegister(bootstrap::streamSourcePort, portOf(stream_));
  return true;
}

}  // namespace vireo::simulator

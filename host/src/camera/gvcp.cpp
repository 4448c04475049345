// SPDX-License-Identifier: MIT
#include "camera/gvcp.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace vireo::host {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::uint8_t key = 0x42;
constexpr std::uint16_t pendingAnswer = 0x0089;

int millisecondsUntil(Clock::time_point end) {
  const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
  return static_cast<int>(std::max<milliseconds::rep>(left.count(), 0));
}

// The next datagram; none when none comes until `end`, or an error does.
std::optional<gvcp::Bytes> receive(int socket, Clock::time_point end) {
  pollfd ready{socket, POLLIN, 0};
  if (poll(&ready, 1, millisecondsUntil(end)) <= 0) return std::nullopt;
  gvcp::Bytes bytes(2048);
  const ssize_t size = recv(socket, bytes.data(), bytes.size(), 0);
  if (size < 0) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(size));
  return bytes;
}

}  // namespace

namespace gvcp {

void Put(Bytes& bytes, std::uint32_t number, int size) {
  for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
}

std::uint32_t NumberAt(const Bytes& bytes, std::size_t at, std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < size; ++i) number = number << 8 | bytes.at(at + i);
  return number;
}

Bytes Command(Code code, AnswerBy by, std::uint16_t id, const Bytes& payload) {
  Bytes bytes = {key, static_cast<std::uint8_t>(by)};
  Put(bytes, static_cast<std::uint16_t>(code), 2);
  Put(bytes, static_cast<std::uint32_t>(payload.size()), 2);
  Put(bytes, id, 2);
  bytes.insert(bytes.end(), payload.begin(), payload.end());
  return bytes;
}

bool Answers(const Bytes& datagram, Code code, std::uint16_t id) {
  return datagram.size() >= headerSize && NumberAt(datagram, 2, 2) == static_cast<std::uint16_t>(code) + 1u &&
         NumberAt(datagram, 6, 2) == id;
}

}  // namespace gvcp

GvcpClient::GvcpClient(std::uint32_t address) : socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in camera{};
  camera.sin_family = AF_INET;
  camera.sin_addr.s_addr = htonl(address);
  camera.sin_port = htons(gvcp::controlPort);
  if (connect(socket_, reinterpret_cast<const sockaddr*>(&camera), sizeof camera) != 0) connectError_ = errno;
}

GvcpClient::~GvcpClient() {
  if (socket_ >= 0) close(socket_);
}

GvcpClient::Answer GvcpClient::Read(std::uint32_t address, milliseconds patience) {
  id_ = static_cast<std::uint16_t>(id_ % 0xfffe + 1);  // 0 is none, the last one is for discovery
  gvcp::Bytes payload;
  gvcp::Put(payload, address, 4);
  const gvcp::Bytes command = gvcp::Command(gvcp::Code::ReadRegister, gvcp::AnswerBy::Unicast, id_, payload);
  const auto start = Clock::now();
  auto end = start + patience;
  Answer answer;
  int error = connectError_;
  if (error == 0 && send(socket_, command.data(), command.size(), 0) < 0) error = errno;
  answer.portClosed = error == ECONNREFUSED;
  if (!answer.portClosed) answer.sendError = error;
  while (error == 0 && !answer.portClosed && !answer.answered && Clock::now() < end) {
    errno = 0;
    const auto bytes = receive(socket_, end);
    answer.portClosed = !bytes && errno == ECONNREFUSED;
    if (!bytes || bytes->size() < gvcp::headerSize || gvcp::NumberAt(*bytes, 6, 2) != id_) continue;
    const bool hasNumber = bytes->size() >= gvcp::headerSize + 4;
    if (gvcp::NumberAt(*bytes, 2, 2) == pendingAnswer && hasNumber)
      end = Clock::now() + milliseconds(gvcp::NumberAt(*bytes, gvcp::headerSize + 2, 2)) + patience;
    if (!gvcp::Answers(*bytes, gvcp::Code::ReadRegister, id_)) continue;
    answer.answered = true;
    answer.status = static_cast<std::uint16_t>(gvcp::NumberAt(*bytes, 0, 2));
    if (answer.status == 0 && hasNumber) answer.value = gvcp::NumberAt(*bytes, gvcp::headerSize, 4);
  }
  answer.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  return answer;
}

}  // namespace vireo::host

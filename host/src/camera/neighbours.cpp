// SPDX-License-Identifier: MIT
// /proc/net/arp has the same entries, but not when somebody last answered for them.
#include "camera/neighbours.h"

#include <fmt/format.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace vireo::host {
namespace {

struct Question {
  nlmsghdr header{};
  ndmsg entry{};
  rtattr attribute{};
  std::uint32_t address = 0;  // in the network's byte order
};

// The system's message about one entry; none when there is no entry.
std::size_t ask(const Question& question, std::span<char> answer) {
  const int socket = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  const bool asked = send(socket, &question, sizeof question, 0) == sizeof question;
  const ssize_t size = asked ? recv(socket, answer.data(), answer.size(), 0) : 0;
  close(socket);
  return size < 0 ? 0 : static_cast<std::size_t>(size);
}

template <typename T>
T numberAt(std::span<const char> bytes) {
  T number{};
  std::memcpy(&number, bytes.data(), std::min(sizeof number, bytes.size()));
  return number;
}

}  // namespace

std::optional<Neighbour> NeighbourAt(const NetworkPort& port, std::uint32_t address) {
  constexpr int known = NUD_REACHABLE | NUD_STALE | NUD_DELAY | NUD_PROBE;
  Question question;
  question.header.nlmsg_len = sizeof question;
  question.header.nlmsg_type = RTM_GETNEIGH;
  question.header.nlmsg_flags = NLM_F_REQUEST;
  question.entry.ndm_family = AF_INET;
  question.entry.ndm_ifindex = static_cast<int>(port.index);
  question.attribute = {RTA_LENGTH(sizeof address), NDA_DST};
  question.address = htonl(address);
  std::array<char, 4096> buffer{};
  std::span<const char> left(buffer.data(), ask(question, buffer));
  constexpr std::size_t head = NLMSG_LENGTH(sizeof(ndmsg));
  if (left.size() < head || numberAt<nlmsghdr>(left).nlmsg_type != RTM_NEWNEIGH) return std::nullopt;
  if ((numberAt<ndmsg>(left.subspan(NLMSG_HDRLEN)).ndm_state & known) == 0) return std::nullopt;
  Neighbour neighbour;
  left = left.subspan(head);
  while (left.size() >= sizeof(rtattr)) {
    const auto attribute = numberAt<rtattr>(left);
    if (attribute.rta_len < sizeof attribute || attribute.rta_len > left.size()) break;
    const auto value = left.subspan(sizeof attribute, attribute.rta_len - sizeof attribute);
    if (attribute.rta_type == NDA_LLADDR) {
      const auto* const bytes = reinterpret_cast<const unsigned char*>(value.data());
      neighbour.mac = fmt::format("{:02x}", fmt::join(bytes, bytes + value.size(), ":"));
    }
    if (attribute.rta_type == NDA_CACHEINFO) {
      const std::chrono::duration<double> ago(numberAt<nda_cacheinfo>(value).ndm_confirmed /
                                              static_cast<double>(sysconf(_SC_CLK_TCK)));
      const auto now = std::chrono::steady_clock::now();
      neighbour.confirmed = now - std::chrono::duration_cast<std::chrono::steady_clock::duration>(ago);
    }
    left = left.subspan(std::min<std::size_t>(RTA_ALIGN(attribute.rta_len), left.size()));
  }
  return neighbour;
}

}  // namespace vireo::host

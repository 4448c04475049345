// SPDX-License-Identifier: MIT
#include "evidence/sockets.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <map>
#include <string_view>
#include <system_error>

namespace vireo::host {
namespace {

// The inodes of this process's sockets, and their descriptors.
std::map<std::uint64_t, int> ownDescriptors() {
  constexpr std::string_view mark = "socket:[";
  std::map<std::uint64_t, int> descriptors;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
    const std::string target = std::filesystem::read_symlink(entry.path(), ignored).string();
    if (!target.starts_with(mark)) continue;
    std::string_view number = std::string_view(target).substr(mark.size());
    const auto inode = TakeNumber<std::uint64_t>(number);
    const auto descriptor = NumberFrom<int>(entry.path().filename().string());
    if (inode && descriptor) descriptors[*inode] = *descriptor;
  }
  return descriptors;
}

}  // namespace

// sl local_address rem_address st tx_queue:rx_queue tr:tm->when retrnsmt uid timeout inode ref pointer drops
std::vector<UdpSocket> UdpSockets(const SystemFiles& files) {
  std::vector<UdpSocket> sockets;
  for (const std::string& line : LinesOf(files.Text("proc/net/udp"))) {
    const std::vector<std::string> words = WordsOf(line);
    if (words.size() < 13 || words[1].size() != 13 || words[4].size() != 17) continue;
    const std::string_view local = words[1];
    const std::string_view queues = words[4];
    sockets.push_back({ntohl(NumberFrom<std::uint32_t>(local.substr(0, 8), 16).value_or(0)),
                       NumberFrom<std::uint16_t>(local.substr(9), 16).value_or(0),
                       NumberFrom<std::int64_t>(queues.substr(9), 16).value_or(0),
                       NumberFrom<std::int64_t>(words[12]).value_or(0),
                       NumberFrom<std::uint64_t>(words[9]).value_or(0)});
  }
  return sockets;
}

// sk RefCnt Type Proto Iface R Rmem User Inode
std::set<std::uint64_t> PacketSockets(const SystemFiles& files) {
  std::set<std::uint64_t> inodes;
  for (const std::string& line : LinesOf(files.Text("proc/net/packet"))) {
    const std::vector<std::string> words = WordsOf(line);
    if (words.size() < 9) continue;
    if (const auto inode = NumberFrom<std::uint64_t>(words[8])) inodes.insert(*inode);
  }
  return inodes;
}

std::set<std::uint64_t> OwnSockets() {
  std::set<std::uint64_t> inodes;
  for (const auto& [inode, descriptor] : ownDescriptors()) inodes.insert(inode);
  return inodes;
}

std::optional<std::int64_t> ReceiveBufferOf(std::uint64_t inode) {
  const auto descriptors = ownDescriptors();
  const auto found = descriptors.find(inode);
  int bytes = 0;
  socklen_t size = sizeof bytes;
  if (found == descriptors.end() || getsockopt(found->second, SOL_SOCKET, SO_RCVBUF, &bytes, &size) != 0)
    return std::nullopt;
  return bytes;
}

BufferLimits BufferLimitsOf(const SystemFiles& files) {
  return {files.NumberIn<std::int64_t>("proc/sys/net/core/rmem_default").value_or(0),
          files.NumberIn<std::int64_t>("proc/sys/net/core/rmem_max").value_or(0)};
}

}  // namespace vireo::host

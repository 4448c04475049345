// SPDX-License-Identifier: MIT
#include "evidence/interfaces.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace vireo::host {

InterfaceState StateOf(const SystemFiles& files, const std::string& name) {
  const std::string folder = "sys/class/net/" + name;
  const auto filter = [&](const std::string& whose) {
    return files.NumberIn<int>(fmt::format("proc/sys/net/ipv4/conf/{}/rp_filter", whose)).value_or(0);
  };
  InterfaceState state{name, files.NumberIn<std::int64_t>(folder + "/mtu"),
                       files.NumberIn<std::int64_t>(folder + "/speed"),
                       files.Text(folder + "/carrier") != "0", std::max(filter("all"), filter(name))};
  if (state.megabits && *state.megabits <= 0)
    state.megabits.reset();  // drivers say -1 where they do not know
  return state;
}

InterfaceCounters CountersOf(const SystemFiles& files, const std::string& name) {
  for (const std::string& line : LinesOf(files.Text("proc/net/dev"))) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos || WordsOf(line.substr(0, colon)) != std::vector{name}) continue;
    // Received: bytes packets errs drop fifo frame compressed multicast; then the same for sent.
    std::array<std::int64_t, 10> numbers{};
    const std::vector<std::string> words = WordsOf(line.substr(colon + 1));
    for (std::size_t i = 0; i < std::min(words.size(), numbers.size()); ++i)
      numbers[i] = NumberFrom<std::int64_t>(words[i]).value_or(0);
    return {numbers[1], numbers[0], numbers[2], numbers[3] + numbers[4], numbers[9]};
  }
  return {};
}

InterfaceCounters operator-(const InterfaceCounters& now, const InterfaceCounters& before) {
  return {now.packets - before.packets, now.bytes - before.bytes, now.errors - before.errors,
          now.dropped - before.dropped, now.sentPackets - before.sentPackets};
}

}  // namespace vireo::host

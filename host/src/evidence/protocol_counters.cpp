// SPDX-License-Identifier: MIT
#include "evidence/protocol_counters.h"

#include <map>
#include <string>

namespace vireo::host {
namespace {

using Named = std::map<std::string, std::int64_t>;

// Lines come in pairs, "Udp: NAME NAME" and "Udp: 1 2".
void addCounters(const std::string& text, Named& named) {
  const std::vector<std::string> lines = LinesOf(text);
  for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
    const std::vector<std::string> names = WordsOf(lines[i]);
    const std::vector<std::string> numbers = WordsOf(lines[i + 1]);
    for (std::size_t j = 1; j < std::min(names.size(), numbers.size()); ++j)
      named[names[0] + names[j]] = NumberFrom<std::int64_t>(numbers[j]).value_or(0);
  }
}

}  // namespace

ProtocolCounters ProtocolCountersNow(const SystemFiles& files) {
  Named named;
  addCounters(files.Text("proc/net/snmp"), named);
  addCounters(files.Text("proc/net/netstat"), named);
  return {named["Ip:InReceives"],    named["Ip:InDelivers"],    named["Ip:ReasmReqds"],
          named["Ip:ReasmOKs"],      named["Udp:InDatagrams"],  named["Udp:NoPorts"],
          named["Udp:OutDatagrams"], named["Udp:RcvbufErrors"], named["TcpExt:IPReversePathFilter"]};
}

ProtocolCounters operator-(const ProtocolCounters& now, const ProtocolCounters& before) {
  return {now.ipReceived - before.ipReceived,
          now.ipDelivered - before.ipDelivered,
          now.fragments - before.fragments,
          now.reassembled - before.reassembled,
          now.datagramsReceived - before.datagramsReceived,
          now.datagramsWithoutPort - before.datagramsWithoutPort,
          now.datagramsSent - before.datagramsSent,
          now.bufferErrors - before.bufferErrors,
          now.reversePathDrops - before.reversePathDrops};
}

}  // namespace vireo::host

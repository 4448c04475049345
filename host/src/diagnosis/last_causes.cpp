// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>

#include "diagnosis/causes.h"
#include "terminal/ipv4.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

std::optional<Verdict> nothingSent(const Facts& facts) {
  if (!facts.reception || facts.reception->bad + facts.reception->refused != 0 || !facts.LacksFrames())
    return {};
  const Reception& reception = *facts.reception;
  if (reception.lost != 0) return {};
  Verdict verdict{
      "no-frames",
      reception.frames == 0 ? "The camera was started, and no packet of a frame comes"
                            : "Far fewer frames come than the settings ask for, and none is damaged",
      {CameText(reception),
       "no trigger is on, and the mode is " +
           (facts.settings.acquisitionMode.empty() ? "not known" : facts.settings.acquisitionMode)},
      {"check the sensor's power and settings: " + CommandText(facts, "list Acquisition")}};
  if (facts.link != LinkKind::Gige) return verdict;
  if (reception.during.streamDestination && reception.during.streamPort)
    verdict.evidence.push_back(fmt::format("the camera sends to {}:{}, which is this program; {} took {}",
                                           Ipv4Text(*reception.during.streamDestination),
                                           *reception.during.streamPort & 0xffff, facts.path.interface.name,
                                           Counted(reception.interface.packets, "packet")));
  verdict.todo.emplace_back(
      "commands come through and the stream does not: look at switches and routers on the way");
  return verdict;
}

// What this computer dropped itself: too little to be the cause. Nobody reads the socket beside a packet
// socket.
std::string droppedHere(const Facts& facts) {
  const std::int64_t socket = facts.reception->packetSocket ? 0 : facts.reception->socketDrops;
  const std::int64_t interface = facts.reception->interface.dropped + facts.reception->interface.errors;
  if (socket + interface == 0)
    return fmt::format("neither a buffer nor a filter nor {} dropped any", facts.path.interface.name);
  return fmt::format("the socket's buffer dropped only {} of them, {} only {}", socket,
                     facts.path.interface.name, interface);
}

std::optional<Verdict> networkLoss(const Facts& facts) {
  if (!facts.reception || facts.link != LinkKind::Gige || facts.reception->Came() == 0) return {};
  const Reception& reception = *facts.reception;
  const bool isHealed = reception.bad + reception.lost == 0;
  const double asked = facts.Requests();
  if (isHealed && (facts.LacksFrames() || !facts.LacksPackets())) return {};
  Verdict verdict{"network-loss",
                  isHealed ? "Packets are lost before this computer; asking for them again brought them all"
                           : "Packets are lost before this computer",
                  {CameText(reception), droppedHere(facts)},
                  {"check cables and plugs, switches (flow control, energy saving) and what else uses them",
                   "let the camera send more evenly: a packet delay, GevSCPD"}};
  if (reception.packetSocket)
    verdict.evidence.back() += "; the drops of the library's packet socket are not listed";
  const bool canResend = (facts.registers.capability.value_or(0) & gvcp::canResend) != 0;
  if (!canResend)
    verdict.evidence.emplace_back("the camera does not send packets again");
  else if (asked >= 1.0)
    verdict.evidence.push_back(fmt::format("packets were asked for again some {:.0f} times{}", asked,
                                           isHealed ? "" : ", and some did not come then either"));
  return verdict;
}

std::optional<Verdict> damaged(const Facts& facts) {
  if (!facts.reception || facts.link == LinkKind::Gige || facts.reception->bad + facts.reception->lost == 0)
    return {};
  return Verdict{"lost-frames",
                 "Frames come damaged, or not at all",
                 {CameText(*facts.reception)},
                 {"end what else keeps the processor or the bus busy, and try another port and cable"}};
}

}  // namespace

std::vector<Cause> LastCauses() {
  return {nothingSent, networkLoss, damaged};
}

}  // namespace vireo::host

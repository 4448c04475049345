// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "diagnosis/causes.h"
#include "terminal/ipv4.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

// The thresholds. Shares are of the packets that should have come.
constexpr double lateAnswer = 50.0;     // milliseconds, of the median; a quiet network needs less than one
constexpr double libraryBeat = 1000.0;  // milliseconds between the library's signs of life
constexpr double noteworthy = 0.01;     // share of packets that a filter took, or that were asked for again
constexpr double dropShare = 0.001;     // share of packets that a buffer or an interface dropped
constexpr double fewBytes = 0.1;        // share of the stream's bytes: only leaders and trailers come
constexpr double fewDrops =
    0.25;  // of the packets that were asked for again: most were lost before the socket

std::string arrivalText(const Facts& facts) {
  return fmt::format("{} took {} and {:.2f} MB in {:.1f} s; the stream is {:.0f} packets and {:.2f} MB",
                     facts.path.interface.name, Counted(facts.reception->interface.packets, "packet"),
                     static_cast<double>(facts.reception->interface.bytes) / 1e6,
                     facts.reception->countedSeconds, facts.ExpectedPackets(),
                     facts.AskedRate() * facts.reception->countedSeconds * facts.WireBytesOfFrame() / 1e6);
}

bool receives(const Facts& facts) {
  return facts.link == LinkKind::Gige && facts.reception.has_value();
}

std::optional<Verdict> heartbeat(const Facts& facts) {
  if (!receives(facts) || !facts.registers.heartbeatTimeout) return {};
  const Reception& reception = *facts.reception;
  const double timeout = *facts.registers.heartbeatTimeout;
  const double silence = libraryBeat + std::max(facts.answers.Longest(), reception.answers.Longest());
  if (!reception.linkLost || timeout > silence) return {};
  return Verdict{
      "heartbeat",
      "The camera gives up its controller before the next sign of life can come",
      {fmt::format("heartbeat time-out {:.0f} ms; the library shows itself every {:.0f} ms, answers take up "
                   "to {:.1f} ms",
                   timeout, libraryBeat, silence - libraryBeat),
       "the control was lost while receiving"},
      {CommandText(facts, "set DeviceLinkHeartbeatTimeout=3000") + " (GevHeartbeatTimeout on some cameras)"},
      ExitStatus::LinkLost};
}

std::optional<Verdict> linkLost(const Facts& facts) {
  if (!facts.reception || !facts.reception->linkLost || heartbeat(facts)) return {};
  return Verdict{
      "link-lost",
      "The link to the camera was lost while receiving",
      {facts.reception->failure, CameText(*facts.reception)},
      {"check cable, plug and power of the camera; a camera that starts anew is back after a while"},
      ExitStatus::LinkLost};
}

std::optional<Verdict> refusedFrames(const Facts& facts) {
  if (!facts.reception || facts.reception->refused <= facts.reception->frames) return {};
  return Verdict{"refused-frames",
                 "Frames come, and are refused: their size or payload is not what the camera announced",
                 {fmt::format("{} refused, {}", facts.reception->refused, CameText(*facts.reception)),
                  fmt::format("PayloadSize is {:.0f} bytes", facts.settings.payloadBytes.value_or(0.0))},
                 {"turn off what adds to the picture: " + CommandText(facts, "set ChunkModeActive=false"),
                  "start again after a change of Width, Height or PixelFormat"}};
}

std::optional<Verdict> wrongDestination(const Facts& facts) {
  if (!receives(facts) || !facts.LacksFrames() || !facts.reception->during.streamDestination) return {};
  const std::uint32_t destination = *facts.reception->during.streamDestination;
  const auto port = facts.reception->during.streamPort.value_or(0) & 0xffff;
  const bool isHere =
      std::any_of(facts.path.here.begin(), facts.path.here.end(),
                  [&](const NetworkPort& here) { return here.network.address == destination; });
  const bool isOurPort = facts.reception->portIsOurs.value_or(true);
  if (destination == 0 || port == 0 || (isHere && isOurPort)) return {};
  std::vector<std::string> addresses;
  for (const NetworkPort& here : facts.path.here) addresses.push_back(Ipv4Text(here.network.address));
  return Verdict{
      "wrong-destination",
      fmt::format("The camera sends its frames elsewhere, to {}:{}", Ipv4Text(destination), port),
      {fmt::format("stream destination register {}, port register {}", Ipv4Text(destination), port),
       isHere ? "no socket of this program has that port"
              : fmt::format("this computer is {}", fmt::join(addresses, ", ")),
       CameText(*facts.reception)},
      {"end what else writes to the camera, then start again: a start sets both registers"}};
}

// The largest size in steps of four that an interface takes.
std::uint32_t sizeFor(std::int64_t mtu) {
  return static_cast<std::uint32_t>(mtu) / 4 * 4;
}

std::optional<Verdict> packetSize(const Facts& facts) {
  if (!receives(facts) || !facts.registers.packetSize || !facts.reception->during.packetSize) return {};
  const Reception& reception = *facts.reception;
  const std::uint32_t before = *facts.registers.packetSize;
  const std::uint32_t during = *reception.during.packetSize;
  const std::int64_t mtu = facts.path.interface.mtu.value_or(65536);
  const bool isAboveMtu = before > mtu;
  // Where many packets are lost, the test packets may have been among them.
  const bool isQuiet = reception.frames >= 4 * (reception.bad + reception.lost);
  const bool isLowered = during < before && (isAboveMtu || isQuiet);
  const double expectedBytes = facts.AskedRate() * reception.countedSeconds * facts.WireBytesOfFrame();
  const bool onlySmallCome = reception.frames == 0 && reception.bad > 0 &&
                             static_cast<double>(reception.interface.bytes) < fewBytes * expectedBytes;
  const double fragments = static_cast<double>(reception.protocols.fragments);
  const bool isFragmented =
      facts.LacksFrames() && during <= before && fragments > noteworthy * facts.ExpectedPackets();
  if (!isLowered && !onlySmallCome && !isFragmented && !(isAboveMtu && facts.LacksFrames())) return {};
  const std::uint32_t passing = isLowered ? during : onlySmallCome ? 1500 : before;
  const std::uint32_t fitting = std::min(passing, sizeFor(mtu));
  Verdict verdict{
      "packet-size",
      fmt::format("Packets of {} bytes are larger than the path takes", before),
      {fmt::format("packet size register {}, MTU of {} {}", before, facts.path.interface.name, mtu)},
      {CommandText(facts, fmt::format("set GevSCPSPacketSize={}", fitting)),
       fmt::format("or let every interface and switch on the way take more: ip link set {} mtu 9000",
                   facts.path.interface.name)}};
  verdict.remedies = {{"GevSCPSPacketSize", fmt::format("{}", fitting), {}}};
  if (isLowered)
    verdict.evidence.push_back(fmt::format(
        "the test packet did not arrive; the camera library went down to {} bytes for this time", during));
  if (onlySmallCome)
    verdict.evidence.emplace_back("only leaders and trailers of frames arrive, which are small");
  if (isFragmented)
    verdict.evidence.push_back(
        fmt::format("{:.0f} fragments of packets arrived: they were cut on the way", fragments));
  verdict.evidence.push_back(arrivalText(facts));
  verdict.evidence.push_back(CameText(reception));
  return verdict;
}

std::optional<Verdict> reversePath(const Facts& facts) {
  if (!receives(facts)) return {};
  const auto dropped = static_cast<double>(facts.reception->protocols.reversePathDrops);
  if (!facts.LacksFrames() || dropped < std::max(5.0, noteworthy * facts.ExpectedPackets())) return {};
  return Verdict{
      "reverse-path",
      "The stream arrives, and the kernel's reverse-path filter drops it: its sender is not in a net of the "
      "interface",
      {fmt::format("TcpExt IPReversePathFilter counted {:.0f} packets; rp_filter of {} is {}", dropped,
                   facts.path.interface.name, facts.path.interface.reversePathFilter),
       arrivalText(facts), CameText(*facts.reception)},
      {fmt::format("sysctl net.ipv4.conf.all.rp_filter=0 net.ipv4.conf.{}.rp_filter=0",
                   facts.path.interface.name),
       "or find out why the camera's packets come from another address than its answers"}};
}

std::optional<Verdict> firewall(const Facts& facts) {
  if (!receives(facts)) return {};
  const Reception& reception = *facts.reception;
  const ProtocolCounters& counted = reception.protocols;
  const std::int64_t whole = counted.ipReceived - counted.fragments + counted.reassembled;
  const auto filtered = static_cast<double>(whole - counted.ipDelivered - counted.reversePathDrops);
  const bool matters = facts.LacksFrames() || !reception.packetSocket;
  if (!matters || filtered < std::max(5.0, noteworthy * facts.ExpectedPackets())) return {};
  return Verdict{
      "firewall",
      "The stream reaches this computer, and a firewall drops it",
      {fmt::format("IP took {} and delivered {}: {:.0f} were dropped between the two, where filters stand",
                   Counted(counted.ipReceived, "packet"), counted.ipDelivered, filtered),
       arrivalText(facts), CameText(reception)},
      {fmt::format("let UDP from the camera in: nft insert rule inet filter input ip saddr {} udp sport != "
                   "3956 accept",
                   Ipv4Text(facts.path.address)),
       "the rules that there are: nft list ruleset"}};
}

std::optional<Verdict> socketOverflow(const Facts& facts) {
  if (!receives(facts)) return {};
  const Reception& reception = *facts.reception;
  const auto dropped = static_cast<double>(reception.socketDrops);
  const double missed =
      facts.LacksFrames() ? std::max(1.0, fewDrops * facts.Requests()) : noteworthy * facts.ExpectedPackets();
  if (reception.packetSocket || dropped < missed) return {};
  return Verdict{
      "socket-overflow",
      "Packets arrive faster than this program takes them: the socket's buffer overflows",
      {fmt::format(
           "{:.0f} packets found the buffer of {} KiB full (net.core.rmem_default {} KiB, rmem_max {} KiB)",
           dropped, reception.socketBuffer / 1024, facts.buffers.initial / 1024, facts.buffers.most / 1024),
       fmt::format("a frame is {:.0f} KiB", facts.settings.payloadBytes.value_or(0.0) / 1024),
       CameText(reception)},
      {"give sockets more room: sysctl net.core.rmem_max=33554432 net.core.rmem_default=33554432",
       "let the camera send more evenly (a packet delay, GevSCPD) or less, and end what else keeps the "
       "processor "
       "busy; with the right to raw sockets (CAP_NET_RAW) the library takes packets before that buffer"}};
}

std::optional<Verdict> interfaceDrops(const Facts& facts) {
  if (!receives(facts) || (!facts.LacksFrames() && !facts.MuchWasAskedAgain())) return {};
  const InterfaceCounters& counted = facts.reception->interface;
  const auto dropped = static_cast<double>(counted.dropped + counted.errors);
  if (dropped < std::max({1.0, dropShare * facts.ExpectedPackets(), fewDrops * facts.Requests()})) return {};
  return Verdict{
      "interface-drops",
      fmt::format("The interface {} loses packets{}", facts.path.interface.name,
                  facts.LacksFrames() ? "" : "; asking for them again brought them all"),
      {fmt::format("{} dropped, {} with errors, {} taken", counted.dropped, counted.errors, counted.packets),
       CameText(*facts.reception)},
      {fmt::format("errors: change cable and port; drops: give the card longer queues: ethtool -G {} rx 4096",
                   facts.path.interface.name)}};
}

double packetDelaySeconds(const Facts& facts) {
  const CameraRegisters& during = facts.reception->during;
  const double frequency = facts.registers.tickFrequency.value_or(0);
  return frequency > 0.0 ? during.packetDelay.value_or(0) / frequency : 0.0;
}

// The nominal rate of links, megabits a second, that `bytes` a second fill; 0 for none.
double filledLink(double bytes) {
  constexpr std::array links = {10.0, 100.0, 1000.0, 2500.0, 5000.0, 10000.0};
  for (const double link : links)
    if (bytes * 8e-6 > 0.85 * link && bytes * 8e-6 <= 1.01 * link) return link;
  return 0.0;
}

std::optional<Verdict> bandwidth(const Facts& facts) {
  if (!receives(facts) || facts.WireBytesOfFrame() == 0.0 || facts.AskedRate() == 0.0) return {};
  const Reception& reception = *facts.reception;
  const double asked = facts.AskedRate() * facts.WireBytesOfFrame();
  const bool isShort = reception.rate < 0.9 * facts.AskedRate();
  std::vector<std::string> evidence = {
      fmt::format("{:.3g} frames/s of {:.0f} bytes are {:.0f} Mb/s on the wire", facts.AskedRate(),
                  facts.settings.payloadBytes.value_or(0.0), asked * 8e-6)};
  double carried = 0.0;  // bytes a second
  const double delay = packetDelaySeconds(facts);
  const double link = std::min(static_cast<double>(facts.path.interface.megabits.value_or(1'000'000)),
                               facts.settings.linkMegabits.value_or(1e6));
  const double filled = filledLink(reception.rate * facts.WireBytesOfFrame());
  if (delay * facts.PacketsOfFrame() * facts.AskedRate() > 1.0) {
    carried = facts.WireBytesOfFrame() / (delay * facts.PacketsOfFrame());
    evidence.push_back(
        fmt::format("the packet delay, {:.0f} us for each of {:.0f} packets, leaves room for {:.3g} "
                    "frames/s",
                    delay * 1e6, facts.PacketsOfFrame(), carried / facts.WireBytesOfFrame()));
  } else if (asked * 8e-6 > link) {
    carried = link / 8e-6;
    evidence.push_back(fmt::format("the link carries {:.0f} Mb/s", link));
  } else if (filled != 0.0 && asked * 8e-6 > filled) {
    carried = filled / 8e-6;
    evidence.push_back(fmt::format("what came fills a link of {:.0f} Mb/s", filled));
  }
  if (carried == 0.0 || !isShort) return {};
  evidence.push_back(fmt::format("{}, {:.3g} frames/s", CameText(reception), reception.rate));
  const double rate = 0.9 * carried / facts.WireBytesOfFrame();
  Verdict verdict{"bandwidth",
                  "The settings ask for more frames than the link carries",
                  std::move(evidence),
                  {CommandText(facts, fmt::format("set {}={:.3g}", facts.settings.frameRateName, rate)),
                   "or make the frame smaller: Width, Height, PixelFormat, binning"}};
  if (delay > 0.0)
    verdict.todo.push_back("or lower the packet delay: " + CommandText(facts, "set GevSCPD=0"));
  if (facts.settings.throughputLimit || facts.settings.hasThroughputMode)
    verdict.remedies = {{"DeviceLinkThroughputLimit", fmt::format("{:.0f}", 0.9 * carried), {}}};
  return verdict;
}

std::optional<Verdict> lateAnswers(const Facts& facts) {
  if (facts.link != LinkKind::Gige) return {};
  AnswerTimes all = facts.answers;
  if (facts.reception) {
    const AnswerTimes& later = facts.reception->answers;
    all.milliseconds.insert(all.milliseconds.end(), later.milliseconds.begin(), later.milliseconds.end());
    all.unanswered += later.unanswered;
  }
  if (all.Median() < lateAnswer) return {};
  const std::uint32_t timeout = facts.registers.heartbeatTimeout.value_or(0);
  Verdict verdict{
      "late-answers",
      fmt::format("The camera answers late, after {:.0f} ms", all.Median()),
      {fmt::format("{} answers: median {:.0f} ms, longest {:.0f} ms, {} not answered; the library asks again "
                   "after 500 ms and gives up after five times",
                   all.milliseconds.size(), all.Median(), all.Longest(), all.unanswered)},
      {"end what else talks to the camera or fills the link, and look for a switch that saves energy",
       "connect the camera directly; when it stays, the camera's firmware is slow"}};
  if (!facts.reception)
    verdict.evidence.emplace_back("no frames were asked for: opening the camera takes hundreds of answers");
  if (timeout != 0 && timeout < libraryBeat + 2 * all.Longest()) {
    verdict.evidence.push_back(
        fmt::format("the heartbeat time-out, {} ms, is shorter than its delays", timeout));
    verdict.todo.push_back(CommandText(facts, "set DeviceLinkHeartbeatTimeout=10000"));
  }
  return verdict;
}

}  // namespace

std::vector<Cause> PacketCauses() {
  return {heartbeat, linkLost,       refusedFrames,  wrongDestination, packetSize, reversePath,
          firewall,  socketOverflow, interfaceDrops, bandwidth,        lateAnswers};
}

}  // namespace vireo::host

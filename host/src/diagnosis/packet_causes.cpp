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
constexpr double noteworthy = 0.01;  // share of packets that a filter took, or that were asked for again
constexpr double dropShare = 0.001;  // share of packets that a buffer or an interface dropped
constexpr double fewBytes = 0.1;     // share of the stream's bytes: only leaders and trailers come
constexpr double nearlyAll = 0.9;    // share of packets
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

std::optional<Verdict> refusedFrames(const Facts& facts) {
  if (!facts.reception || facts.reception->refused <= facts.reception->frames) return {};
  return Verdict{"refused-frames",
                 "Frames come, and are refused: their size or payload is not what the camera announced",
                 {fmt::format("{} refused, {}", facts.reception->refused, CameText(*facts.reception)),
                  fmt::format("PayloadSize is {:.0f} bytes", facts.settings.payloadBytes.value_or(0.0))},
                 {"turn off what adds to the picture: " + CommandText(facts, "set ChunkModeActive=false"),
                  "start again after a change of Width, Height or PixelFormat"}};
}

// Such packets say that the camera does not have, or no longer has, the data.
std::optional<Verdict> emptyPackets(const Facts& facts) {
  if (!receives(facts) || facts.reception->bad == 0 || facts.path.interface.name == "lo") return {};
  const InterfaceCounters& counted = facts.reception->interface;
  const double frames = facts.ExpectedPackets() / std::max(facts.PacketsOfFrame(), 1.0);
  const bool allCome = facts.ArrivedPackets() > nearlyAll * facts.ExpectedPackets();
  if (!allCome || static_cast<double>(counted.bytes) > 0.5 * frames * facts.WireBytesOfFrame()) return {};
  return Verdict{"empty-packets",
                 "The camera sends packets without the picture",
                 {arrivalText(facts), CameText(*facts.reception)},
                 {"let it send less: a lower rate or a packet delay, GevSCPD",
                  "when it stays, switch the camera off and on, and look for newer firmware"}};
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

// What to try where larger packets do not pass: what every Ethernet takes, else what every IPv4 path takes.
std::uint32_t smallerThan(std::uint32_t size) {
  return size > 1500 ? 1500 : 576;
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
                             static_cast<double>(reception.interface.bytes) < fewBytes * expectedBytes &&
                             facts.ArrivedPackets() < nearlyAll * facts.ExpectedPackets();
  const double fragments = static_cast<double>(reception.protocols.fragments);
  const bool isFragmented =
      facts.LacksFrames() && during <= before && fragments > noteworthy * facts.ExpectedPackets();
  if (!isLowered && !onlySmallCome && !isFragmented && !(isAboveMtu && facts.LacksFrames())) return {};
  const std::uint32_t passing = isLowered ? during : isAboveMtu ? before : smallerThan(before);
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

// What the interface took, and what neither it nor IP accounts for: a filter before IP took it. 0 for an
// interface that sends to itself.
double missingBeforeIp(const Facts& facts) {
  const Reception& reception = *facts.reception;
  const double missing = static_cast<double>(reception.interface.packets - reception.interface.dropped -
                                             reception.protocols.ipReceived);
  const bool isStream = missing > 0.5 * facts.ExpectedPackets();
  return isStream && facts.LacksFrames() && facts.path.interface.name != "lo" ? missing : 0.0;
}

std::optional<Verdict> firewall(const Facts& facts) {
  // A packet socket takes packets before any filter does.
  if (!receives(facts) || facts.reception->packetSocket || !facts.LacksPackets()) return {};
  const Reception& reception = *facts.reception;
  const double before = missingBeforeIp(facts);
  const double least = std::max({5.0, noteworthy * facts.ExpectedPackets(), fewDrops * facts.Requests()});
  if (before == 0.0 && static_cast<double>(reception.protocols.Filtered()) < least) return {};
  const std::string counts =
      before != 0.0 ? fmt::format(
                          "{} took {} and IP {}: {:.0f} were dropped before it, where filters of the "
                          "interface stand",
                          facts.path.interface.name, Counted(reception.interface.packets, "packet"),
                          reception.protocols.ipReceived, before)
                    : fmt::format(
                          "IP took {} and delivered {}: {} were dropped between the two, where "
                          "filters stand",
                          Counted(reception.protocols.ipReceived, "packet"), reception.protocols.ipDelivered,
                          reception.protocols.Filtered());
  return Verdict{
      "firewall",
      "The stream reaches this computer, and a firewall drops it",
      {counts, arrivalText(facts), CameText(reception)},
      {fmt::format("find the rule that drops UDP from {}: nft list ruleset{}", Ipv4Text(facts.path.address),
                   before != 0.0 ? ", or tc filter show dev " + facts.path.interface.name + " ingress" : ""),
       fmt::format("and put before it, in its chain: ip saddr {} udp sport != 3956 accept",
                   Ipv4Text(facts.path.address))}};
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
  if (!receives(facts) || !facts.LacksPackets()) return {};
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
    if (bytes * 8e-6 > 0.95 * link && bytes * 8e-6 <= 1.01 * link) return link;
  return 0.0;
}

// What the interface took, with what Ethernet sends around each packet.
double arrivedWireBytes(const Facts& facts) {
  constexpr double aroundPacket = 24;  // preamble, check sum and gap
  const InterfaceCounters& counted = facts.reception->interface;
  return static_cast<double>(counted.bytes) + aroundPacket * static_cast<double>(counted.packets);
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
  const double filled = filledLink(arrivedWireBytes(facts) / std::max(reception.countedSeconds, 0.1));
  if (delay * facts.PacketsOfFrame() * facts.AskedRate() > 1.0) {
    carried = facts.WireBytesOfFrame() / (delay * facts.PacketsOfFrame());
    evidence.push_back(
        fmt::format("the packet delay, {:.0f} us for each of {:.0f} packets, leaves room for {:.3g} "
                    "frames/s",
                    delay * 1e6, facts.PacketsOfFrame(), carried / facts.WireBytesOfFrame()));
  } else if (asked > facts.LinkBytes()) {
    carried = facts.LinkBytes();
    evidence.push_back(fmt::format("the link carries {:.0f} Mb/s", carried * 8e-6));
  } else if (filled != 0.0 && asked * 8e-6 > filled) {
    carried = filled / 8e-6;
    evidence.push_back(fmt::format("what came fills a link of {:.0f} Mb/s", filled));
  }
  if (carried == 0.0 || !isShort) return {};
  evidence.push_back(CameAtRateText(reception));
  const double rate = 0.9 * carried / facts.WireBytesOfFrame();
  Verdict verdict{"bandwidth",
                  "The settings ask for more frames than the link carries",
                  std::move(evidence),
                  {CommandText(facts, fmt::format("set {}={:.3g}", facts.settings.frameRateName, rate)),
                   "or make the frame smaller: Width, Height, PixelFormat, binning"}};
  if (delay > 0.0)
    verdict.todo.push_back("or lower the packet delay: " + CommandText(facts, "set GevSCPD=0"));
  if (delay == 0.0 && facts.settings.hasThroughputMode)
    verdict.remedies = {{"DeviceLinkThroughputLimitMode", "On", {}},
                        {"DeviceLinkThroughputLimit", fmt::format("{:.0f}", 0.9 * carried), {}}};
  return verdict;
}

}  // namespace

std::vector<Cause> PacketCauses() {
  return {refusedFrames, emptyPackets,   wrongDestination, packetSize, reversePath,
          firewall,      socketOverflow, interfaceDrops,   bandwidth};
}

}  // namespace vireo::host

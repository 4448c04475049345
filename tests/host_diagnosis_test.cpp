// SPDX-License-Identifier: MIT
// What the system tells, from files that were recorded, and which cause follows from which facts.
#include <gmock/gmock.h>

#include "diagnosis/causes.h"
#include "evidence/routes.h"
#include "terminal/ipv4.h"

namespace {

using namespace testing;
using namespace vireo::host;

const SystemFiles recorded(VIREO_TEST_DATA "/host/system");
constexpr std::uint32_t cameraAddress = 0x0a4d0002;  // 10.77.0.2
constexpr std::uint32_t hostAddress = 0x0a4d0001;

TEST(Evidence, ReadsWhatTheSystemCountsOfTheNetwork) {
  const InterfaceCounters counters =
      CountersOf(recorded, "nic0");  // not nic01, and no blank before its bytes
  EXPECT_THAT((std::vector{counters.packets, counters.bytes, counters.errors, counters.dropped,
                           counters.sentPackets}),
              ElementsAre(18345, 28541560, 2, 13, 113));
  EXPECT_EQ(CountersOf(recorded, "nic7").packets, 0);
  const ProtocolCounters protocols = ProtocolCountersNow(recorded);
  EXPECT_THAT((std::vector{protocols.ipReceived, protocols.ipDelivered, protocols.fragments,
                           protocols.reassembled, protocols.datagramsReceived, protocols.datagramsWithoutPort,
                           protocols.datagramsSent, protocols.bufferErrors, protocols.reversePathDrops}),
              ElementsAre(400, 391, 12, 4, 80, 3, 400, 308, 27));
  const std::vector<UdpSocket> sockets = UdpSockets(recorded);
  ASSERT_EQ(sockets.size(), 2u);
  EXPECT_EQ(Ipv4Text(sockets[1].address), "10.77.0.1");
  EXPECT_EQ(sockets[1].port, 45678);
  EXPECT_THAT((std::vector{sockets[1].queuedBytes, sockets[1].drops}), ElementsAre(0x33c00, 308));
  EXPECT_EQ(sockets[1].inode, 3646691u);
  EXPECT_THAT(PacketSockets(recorded), ElementsAre(3646693u));
  EXPECT_EQ(BufferLimitsOf(recorded).most, 4194304);
}

TEST(Evidence, KnowsInterfacesAndRoutes) {
  const InterfaceState here = StateOf(recorded, "nic0");
  EXPECT_EQ(std::tuple(here.mtu, here.megabits, here.hasLink, here.reversePathFilter),
            std::tuple(9000, 1000, true, 1));
  const InterfaceState other = StateOf(recorded, "nic1");
  EXPECT_EQ(other.megabits, std::nullopt);
  EXPECT_FALSE(other.hasLink);
  const std::vector<Route> routes = Routes(recorded);
  EXPECT_EQ(RouteTo(routes, cameraAddress)->interface, "nic0");  // the lower metric of two
  EXPECT_EQ(RouteTo(routes, cameraAddress)->gateway, 0u);
  EXPECT_EQ(Ipv4Text(RouteTo(routes, 0x08080808)->gateway), "10.77.0.254");
  EXPECT_FALSE(RouteTo({}, cameraAddress));
  EXPECT_EQ(Ipv4From("10.77.0.2"), cameraAddress);
  EXPECT_EQ(Ipv4From("camera7"), std::nullopt);
}

TEST(Evidence, FindsUsbCamerasByTheirInterface) {
  const std::vector<UsbCamera> cameras = UsbCameras(recorded);  // a keyboard is there, too
  ASSERT_EQ(cameras.size(), 1u);
  EXPECT_EQ(cameras[0].vendorId + cameras[0].product + cameras[0].serial, "feedArea cameraU7");
  EXPECT_EQ(cameras[0].megabits, 480);
  EXPECT_EQ(cameras[0].node, "/dev/bus/usb/002/003");
  EXPECT_NE(cameras[0].mode & 0400, 0u);
  EXPECT_EQ(UsbMemoryMegabytes(recorded), 16);
  EXPECT_THAT(UsbCameras(SystemFiles("/nowhere")), IsEmpty());
}

TEST(Evidence, UnderstandsAnswersToADiscovery) {
  gvcp::Bytes answer(256);
  const auto put = [&](std::ptrdiff_t at, std::string_view text) {
    std::copy(text.begin(), text.end(), answer.begin() + at);
  };
  put(0, std::string_view("\0\0\0\3\0\xf8\xff\xff", 8));
  put(8 + 0x0a, "\x02\x01\x0a\x4d\x01\xff");
  put(8 + 0x24, std::string_view("\x0a\x4d\x00\x02", 4));
  put(8 + 0x48, "Maker");
  put(8 + 0xd8, "0123456789abcdef");  // no end: the field is full
  const auto camera = GigeCameraFrom(answer);
  ASSERT_TRUE(camera);
  EXPECT_EQ(MacText(camera->mac), "02:01:0a:4d:01:ff");
  EXPECT_EQ(camera->network.address, cameraAddress);
  EXPECT_EQ(camera->vendor + camera->serial, "Maker0123456789abcdef");
  EXPECT_FALSE(GigeCameraFrom({answer.begin(), answer.begin() + 200}));
  answer[3] = 0x81;
  EXPECT_FALSE(GigeCameraFrom(answer));
}

// A camera whose frames all come: 25 a second of 512 x 512 pixels, for two seconds.
Facts healthyFacts() {
  Facts facts;
  facts.option = "-a 10.77.0.2 ";
  facts.link = LinkKind::Gige;
  facts.path.address = cameraAddress;
  facts.path.interface = {"nic0", 1500, 1000, true, 0};
  facts.path.here = {{"lo", 1, {0x7f000001, 0xff000000}}, {"nic0", 2, {hostAddress, 0xffffff00}}};
  facts.path.answers = true;
  facts.registers = {6, 3000, 0, 0, 0, 1500, 0, 0, 1'000'000'000};
  facts.answers.milliseconds = {0.2, 0.1, 30.0, 0.1};  // one that is late is chance
  facts.settings.acquisitionMode = "Continuous";
  facts.settings.exposureSeconds = 0.01;
  facts.settings.exposureName = "ExposureTime";
  facts.settings.frameRate = 25.0;
  facts.settings.frameRateName = "AcquisitionFrameRate";
  facts.settings.payloadBytes = 262144;
  facts.reception.emplace();
  facts.reception->seconds = facts.reception->countedSeconds = 2.0;
  facts.reception->frames = 50;
  facts.reception->rate = 25.0;
  facts.reception->interface = {9100, 13'500'000, 0, 0, 30};
  facts.reception->protocols.ipReceived = facts.reception->protocols.ipDelivered = 9100;
  facts.reception->during = facts.registers;
  facts.reception->during.streamPort = 40000;
  facts.reception->during.streamDestination = hostAddress;
  facts.reception->portIsOurs = true;
  return facts;
}

std::string causesOf(const Facts& facts) {
  std::string causes;
  for (const Verdict& verdict : Diagnose(facts)) causes += (causes.empty() ? "" : " ") + verdict.cause;
  return causes;
}

struct Row {
  const char* causes;
  void (*change)(Facts& facts);
};

void silence(Facts& facts) {
  facts.reception->frames = 0;
  facts.reception->rate = 0.0;
  facts.reception->interface = {40, 3000, 0, 0, 30};
}

void expectCauses(std::initializer_list<Row> rows) {
  int number = 0;
  for (const Row& row : rows) {
    Facts facts = healthyFacts();
    row.change(facts);
    EXPECT_EQ(causesOf(facts), row.causes) << "row " << ++number << '\n' << VerdictsText(Diagnose(facts));
  }
}

TEST(Diagnosis, AccusesNobodyOfWhatDoesNoHarm) {
  expectCauses({
      {"", [](Facts&) {}},
      {"",
       [](Facts& facts) {
         facts.settings.triggers = {{"FrameStart", "Line0"}};
       }},                                                        // the signal comes
      {"", [](Facts& facts) { facts.settings.frameCount = 5; }},  // of another mode
      {"", [](Facts& facts) { facts.reception->interface.dropped = 5; }},
      {"", [](Facts& facts) { facts.reception->socketDrops = 50; }},   // asking again brought them
      {"", [](Facts& facts) { facts.path.interface.megabits = 45; }},  // a false speed: the frames come
      // With a packet socket the library takes packets before a filter or the other socket drops them.
      {"",
       [](Facts& facts) {
         facts.reception->packetSocket = true;
         facts.reception->socketDrops = 9000;
         facts.reception->protocols.ipDelivered = 100;
       }},
      {"", [](Facts& facts) { facts.reception->protocols.ipReceived += 500; }},  // of another interface
      {"",                                                                       // what other programs send
       [](Facts& facts) {
         facts.reception->protocols.datagramsSent = facts.reception->interface.sentPackets = 400;
         facts.reception->othersDatagrams = 180;
       }},
  });
}

TEST(Diagnosis, TellsWhereFramesStay) {
  expectCauses({
      {"no-frames", silence},
      {"trigger",
       [](Facts& facts) {
         silence(facts), facts.settings.triggers = {{"FrameStart", "Line0"}};
       }},
      {"firewall",  // and not the trigger, whose frames reach the interface
       [](Facts& facts) {
         const InterfaceCounters arrived = facts.reception->interface;
         silence(facts);
         facts.settings.triggers = {{"FrameStart", "Line0"}};
         facts.reception->interface = arrived;
         facts.reception->protocols.ipDelivered = 20;
       }},
      {"interface-drops",
       [](Facts& facts) { facts.reception->bad = 3, facts.reception->interface.dropped = 40; }},
      {"socket-overflow", [](Facts& facts) { facts.reception->bad = 3, facts.reception->socketDrops = 40; }},
      {"network-loss", [](Facts& facts) { facts.reception->lost = 3; }},
      {"network-loss",  // the socket dropped the least part
       [](Facts& facts) {
         facts.reception->lost = 3, facts.reception->socketDrops = 10;
         facts.reception->protocols.datagramsSent = facts.reception->interface.sentPackets = 400;
       }},
      {"network-loss",  // healed
       [](Facts& facts) {
         facts.reception->protocols.datagramsSent = 400, facts.reception->interface.sentPackets = 400;
       }},
      {"packet-size",
       [](Facts& facts) { facts.registers.packetSize = 8000, facts.reception->during.packetSize = 1500; }},
      {"bandwidth",
       [](Facts& facts) {
         facts.path.interface.megabits = 45, facts.reception->rate = 20, facts.reception->frames = 40;
       }},
      {"throughput-limit",
       [](Facts& facts) {
         facts.settings.throughputLimit = 4e6, facts.reception->rate = 15, facts.reception->frames = 30;
       }},
      {"refused-frames",
       [](Facts& facts) {
         facts.reception->frames = 0, facts.reception->refused = facts.reception->bad = 50;
       }},
      {"wrong-destination", [](Facts& facts) { silence(facts), facts.reception->portIsOurs = false; }},
      {"link-lost", [](Facts& facts) { silence(facts), facts.reception->linkLost = true; }},
      {"link-lost",
       [](Facts& facts) { facts.reception->frames = 20, facts.reception->answersAfter = false; }},
      {"failed",
       [](Facts& facts) {
         silence(facts), facts.reception->seconds = 0, facts.reception->failure = "no stream";
       }},
      {"firewall",  // before IP
       [](Facts& facts) {
         facts.reception->frames = 0;
         facts.reception->protocols.ipReceived = facts.reception->protocols.ipDelivered = 40;
       }},
      {"interface-drops",  // healed
       [](Facts& facts) {
         facts.reception->interface.dropped = 300;
         facts.reception->protocols.datagramsSent = facts.reception->interface.sentPackets = 400;
       }},
      {"empty-packets",
       [](Facts& facts) {
         facts.reception->frames = 0, facts.reception->bad = 50, facts.reception->interface.bytes = 700'000;
       }},
      {"no-frames", [](Facts& facts) { facts.reception->frames = 20; }},  // none lost, none damaged
      {"network-loss",  // whose good frames happen to have the rate of a slower link
       [](Facts& facts) {
         facts.reception->bad = 30, facts.reception->frames = 9, facts.reception->rate = 4.4;
       }},
  });
}

// A camera on USB, of which nothing was received yet.
void onUsb(Facts& facts) {
  facts.path = {};
  facts.link = LinkKind::Usb;
  facts.registers = {};
  facts.usbCameras = UsbCameras(recorded);
  facts.usbCameras[0].writable = true;
}

TEST(Diagnosis, KnowsUsb) {
  expectCauses({
      {"", onUsb},
      {"bandwidth",
       [](Facts& facts) {
         onUsb(facts), facts.settings.frameRate = 500, facts.settings.exposureSeconds.reset();
       }},
      {"usb-memory",
       [](Facts& facts) {
         onUsb(facts), silence(facts), facts.settings.payloadBytes = 1.8e6, facts.usbMemoryMegabytes = 16;
       }},
      {"lost-frames", [](Facts& facts) { onUsb(facts), facts.reception->bad = 2; }},
      {"usb-access",
       [](Facts& facts) {
         onUsb(facts), facts.link = LinkKind::Unknown, facts.reception.reset(),
                       facts.usbCameras[0].writable = false;
       }},
      {"usb-busy",
       [](Facts& facts) { onUsb(facts), facts.link = LinkKind::Unknown, facts.reception.reset(); }},
      {"no-camera",
       [](Facts& facts) {
         onUsb(facts), facts.usbCameras.clear(), facts.link = LinkKind::Unknown, facts.reception.reset();
       }},
  });
}

}  // namespace

// SPDX-License-Identifier: MIT
// The simulated camera without a wire: registers, acquisitions, pictures, fault scripts, what commands are
// answered, and how a frame is cut into packets.
#include <gmock/gmock.h>

#include <limits>
#include <numeric>

#include "simulator/faults/spoil.h"
#include "simulator/gige/bootstrap.h"
#include "simulator/gige/gvcp_server.h"
#include "simulator/gige/gvsp.h"
#include "simulator/model/registers.h"

namespace {

using namespace testing;
using namespace vireo::simulator;
using std::chrono::milliseconds;

constexpr std::uint32_t mono8 = 0x01080001;

struct Commanded : GvcpActions {
  void FireTestPacket() override { ++testPackets; }
  void Resend(const ResendRequest& request) override { resends.push_back(request); }
  bool ForceAddress(std::uint32_t address) override { return address >> 24 == 127; }
  int testPackets = 0;
  std::vector<ResendRequest> resends;
};

class Simulator : public Test {
 protected:
  static Bytes bytesOf(std::string_view hex) {
    Bytes bytes;
    std::string text(hex);
    std::erase(text, ' ');
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
      bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return bytes;
  }
  static std::string hexOf(ByteView bytes) {
    std::string hex;
    for (const std::uint8_t byte : bytes) {
      hex += "0123456789abcdef"[byte >> 4];
      hex += "0123456789abcdef"[byte & 15];
    }
    return hex;
  }
  std::string answer(std::string_view command, const Endpoint& sender = {1, 1}) {
    return hexOf(server.Answer(bytesOf(command), sender, now));
  }
  int framesWithin(milliseconds time) {
    int frames = 0;
    for (const auto end = Clock::now() + time; model.WaitForFrame(end);) ++frames;
    return frames;
  }

  CameraModel model{{"camera.xml", "<xml/>"}, {}};
  Commanded commanded;
  GvcpServer server{model, commanded, {0x020000000001, 0x7f000001, 0xff000000, 4242}};
  Clock::time_point now = Clock::now();
};

const std::string forceAddress =
    "42010004 0038 0007 0000 020000000001" + std::string(24, '0') + "7f000005" + std::string(64, '0');
const std::string takeControl = "42010082 0008 0001 00000a00 00000002";

}  // namespace

// What a command is about, the command and its answer.
const std::tuple<const char*, std::string, std::string> exchanges[] = {
    {"short", "4201008000", ""},
    {"wrong key", "43010080 0004 0007 00000a00", ""},
    {"an acknowledge", "42010081 0004 0007 00000a00", ""},
    {"none is asked for", "42000080 0004 0007 00000a00", ""},
    {"unknown", "42010100 0000 0007", "80010101 0000 0007"},
    {"length", "42010080 0008 0007 00000a00", "800e0081 0000 0007"},
    {"no register", "42010080 0000 0007", "800e0081 0000 0007"},
    {"two registers", "42010080 0008 0007 00000934 00000938", "00000081 0008 0007 c0000026 00000bb8"},
    {"alignment", "42010080 0004 0007 00000a01", "80050081 0000 0007"},
    {"nothing there", "42010080 0004 0007 00010000", "80030081 0000 0007"},
    {"memory", "42010084 0008 0007 00000048 00000008", "00000085 000c 0007 00000048 566972656f000000"},
    {"too much memory", "42010084 0008 0007 00000048 0000021c", "80020085 0000 0007"},
    {"the description", "42010084 0008 0007 60000000 00000008",
     "00000085 000c 0007 60000000 3c786d6c2f3e0000"},
    {"no control", "42010082 0008 0007 00000100 00000040", "80060083 0004 0007 00000000"},
    {"discovery with a payload", "42110002 0004 0007 00000000", "800e0003 0000 0007"},
    {"force address", forceAddress, "00000005 0000 0007"},
    {"control", takeControl, "00000083 0004 0001 00000001"},
    {"force address of a camera in use", forceAddress, ""},
    {"width", "42010082 0008 0007 00000100 00000040", "00000083 0004 0007 00000001"},
    {"bounds", "42010082 0008 0007 00000100 00000041", "80020083 0004 0007 00000000"},
    {"second of two", "42010082 0010 0007 00000104 00000040 00000048 00000000",
     "80040083 0004 0007 00000001"},
    {"memory of two", "42010086 000c 0007 00000130 00000001 00000002", "00000087 0004 0007 00000008"},
    {"half a word", "42010086 0006 0007 00000130 0001", "80050087 0004 0007 00000000"},
    {"description again", "42010086 0008 0007 60000000 00000000", "80040087 0004 0007 00000000"},
    {"test packet", "42010082 0008 0007 00000d04 80000240", "00000083 0004 0007 00000001"},
    {"fires once", "42010080 0004 0007 00000d04", "00000081 0004 0007 00000240"},
    {"resend", "42000040 000c 0007 00000005 00000002 00000004", ""},
    {"resend, cut", "42000040 000c 0007 00000005 00000002", ""},
    {"force another's address", "42010004 0038 0007 0000 020000000002" + std::string(96, '0'), ""},
};

TEST_F(Simulator, AnswersCommandsAsTheStandardSays) {
  for (const auto& [what, command, expected] : exchanges)
    EXPECT_EQ(answer(command), hexOf(bytesOf(expected))) << what;
  EXPECT_THAT(answer("42110002 0000 ffff"),
              AllOf(SizeIs(2 * (8 + 248)), StartsWith("0000000300f8ffff00020000")));
  EXPECT_EQ(commanded.testPackets, 1);
  ASSERT_EQ(commanded.resends.size(), 1u);
  EXPECT_EQ(commanded.resends[0].block, 5u);
  EXPECT_EQ(commanded.resends[0].lastPacket, 4u);
}

TEST_F(Simulator, GivesControlToOneClientUntilItFallsSilent) {
  const Endpoint other{1, 2};
  const std::string write = "42010082 0008 0001 00000100 00000040";
  const std::string done = hexOf(bytesOf("00000083 0004 0001 00000001"));
  const std::string denied = hexOf(bytesOf("80060083 0004 0001 00000000"));
  EXPECT_EQ(answer(takeControl), done);
  EXPECT_EQ(answer(takeControl, other), denied);
  EXPECT_EQ(answer("42010082 0008 0001 00000a00 00000000", other), denied);
  now += milliseconds(2900);
  EXPECT_EQ(answer(write), done);
  now += milliseconds(2900);
  server.CheckHeartbeat(now);
  EXPECT_EQ(answer(write, other), denied);
  model.SetRegister(bootstrap::streamPort, 5);
  now += milliseconds(3100);
  server.CheckHeartbeat(now);
  EXPECT_EQ(model.Register(bootstrap::streamPort), 0u);
  EXPECT_EQ(answer(write), denied);
  EXPECT_EQ(answer(takeControl, other), done);
}

TEST_F(Simulator, AcquiresAsItsRegistersSay) {
  model.SetRegister(reg::framePeriod, 10000);
  model.SetRegister(reg::exposureTime, 1000);
  EXPECT_EQ(framesWithin(milliseconds(20)), 0);
  model.SetRegister(reg::acquisition, 1);
  EXPECT_THAT(framesWithin(milliseconds(200)), AllOf(Ge(10), Le(21)));
  model.SetRegister(reg::exposureTime, 100000);  // longer than the period
  EXPECT_THAT(framesWithin(milliseconds(250)), AllOf(Ge(1), Le(4)));
  model.SetRegister(reg::exposureTime, 1000);
  model.SetRegister(reg::acquisitionFrameCount, 3);
  for (const auto& [mode, count] : {std::pair(2u, 1), std::pair(3u, 3)}) {
    model.SetRegister(reg::acquisitionMode, mode);
    model.SetRegister(reg::acquisition, 1);
    EXPECT_EQ(framesWithin(milliseconds(120)), count);
  }
  model.SetRegister(reg::acquisitionMode, 1);
  for (const std::uint64_t trigger : {std::uint64_t{0}, reg::acquisitionStartTrigger}) {
    model.SetRegister(reg::triggerMode + trigger, 1);
    for (const std::uint32_t source : {0u, 1u}) {  // a line that nothing moves, then software
      model.SetRegister(reg::triggerSource + trigger, source);
      model.SetRegister(reg::acquisition, 1);
      EXPECT_EQ(framesWithin(milliseconds(30)), 0);
      model.SetRegister(reg::triggerSoftware, 1);
      const int frames = framesWithin(milliseconds(100));
      EXPECT_TRUE(source == 0 ? frames == 0 : trigger == 0 ? frames == 1 : frames > 1) << frames;
    }
    model.SetRegister(reg::triggerMode + trigger, 0);
  }
}

TEST_F(Simulator, KeepsForeignRegistersInBoundedMemory) {
  CameraModel foreign({"other.xml", "<xml/>", false}, {});
  const Bytes word = {1, 2, 3, 4};
  Bytes read(4);
  for (const std::uint64_t address : {0x100ull, 0x4fffeull, 0x123456789abcull}) {
    EXPECT_EQ(foreign.Write(address, word), Status::Success);
    EXPECT_EQ(foreign.Read(address, read), Status::Success);
    EXPECT_EQ(read, word) << address;
  }
  EXPECT_EQ(foreign.Read(std::numeric_limits<std::uint64_t>::max() - 1, read), Status::InvalidAddress);
  Status status = Status::Success;
  std::uint64_t pages = 0;
  for (; status == Status::Success && pages < 5000; ++pages) status = foreign.Write(pages << 20, word);
  EXPECT_EQ(status, Status::InvalidAddress);
  EXPECT_LE(pages, RegisterMemory::maxPages);
}

TEST(FaultScript, StrikesByStepAndByChance) {
  const auto struck = [](FaultScript& script, Channel channel, int members) {
    std::string line;
    for (int i = 0; i < members; ++i) line += ".ltpwesodrgmx"[static_cast<int>(script.Next(channel).kind)];
    return line;
  };
  FaultScript script("command 2 lost;command 4-5 late 400; packet 3- status 0x800c; command 5- duplicate");
  EXPECT_EQ(struck(script, Channel::Command, 8), ".l.ttddd");
  EXPECT_EQ(struck(script, Channel::Packet, 4), "..ee");
  EXPECT_EQ(struck(script, Channel::Resend, 4), "....");
  const auto byChance = [&](const std::string& text) {
    FaultScript random(text);
    return struck(random, Channel::Packet, 10000);
  };
  const std::string line = byChance("packet 5% lost; seed 3");
  EXPECT_THAT(std::ranges::count(line, 'l'), AllOf(Gt(400), Lt(600)));
  EXPECT_EQ(line, byChance("seed 3; packet 5% lost"));
  EXPECT_NE(line, byChance("packet 5% lost; seed 4"));
  for (const char* const bad : {"comand 1 lost", "command 0 lost", "command 3-2 lost", "command x lost",
                                "command 1 late", "packet 101% lost", "packet 1 lost 3", "packet 1",
                                "packet 1 late 5000000000", "packet 1 mutated", "seed", "packet 1 late 3 4"})
    EXPECT_THROW(FaultScript{bad}, std::runtime_error) << bad;
}

TEST(FaultScript, SpoilsTheSameBytesInEveryRun) {
  const auto spoilt = [](const std::string& fault, int member) {
    FaultScript script("command 1- " + fault);
    Fault last;
    for (int i = 0; i < member; ++i) last = script.Next(Channel::Command);
    Bytes answer(100, 0x5a);
    Spoil<std::endian::little>(answer, last, {.status = 4, .length = 8, .id = 10, .headerSize = 12});
    return answer;
  };
  for (const auto& [fault, least, most] :
       {std::tuple("garbage", 90, 100), std::tuple("mutated 4", 4, 4), std::tuple("mutated 400", 100, 100)}) {
    SCOPED_TRACE(fault);
    const Bytes answer = spoilt(fault, 1);
    ASSERT_EQ(answer.size(), 100u);
    EXPECT_THAT(100 - std::ranges::count(answer, 0x5a), AllOf(Ge(least), Le(most)));
    EXPECT_EQ(answer, spoilt(fault, 1));
    EXPECT_NE(answer, spoilt(fault, 2));
    EXPECT_NE(answer, spoilt(fault + std::string("; seed 2"), 1));
  }
}

TEST(Picture, MovesInEveryFormat) {
  struct Row {
    std::uint32_t format;
    std::array<std::uint8_t, 6> first;  // bytes of the second row of frame 1
  };
  const Row rows[] = {
      {mono8, {2, 3, 4, 5, 6, 7}},
      {0x01100007, {0, 2, 0, 3, 0, 4}},
      {0x02180014, {2, 87, 172, 3, 88, 173}},
      {0x01080008, {172, 88, 174, 90, 176, 92}},
      {0x01080009, {87, 173, 89, 175, 91, 177}},
      {0x0108000a, {2, 88, 4, 90, 6, 92}},
      {0x0108000b, {87, 3, 89, 5, 91, 7}},
  };
  for (const Row& row : rows) {
    const PictureSettings settings{16, 8, 0, 0, row.format, 1.0};
    Bytes one;
    Bytes two;
    FillPicture(settings, 1, one);
    FillPicture(settings, 2, two);
    const std::size_t line = one.size() / 8;
    EXPECT_TRUE(std::equal(row.first.begin(), row.first.end(), one.begin() + static_cast<long>(line)))
        << std::hex << row.format << " "
        << PrintToString(Bytes(one.begin() + static_cast<long>(line), one.end()));
    EXPECT_NE(one, two);
  }
}

TEST(Gvsp, CutsFramesIntoPacketsThatCanBePutTogether) {
  for (const bool extended : {false, true}) {
    Frame frame{{{64, 32, 5, 6, mono8, 1.0}, 77}, Bytes(64 * 32)};
    std::iota(frame.image.begin(), frame.image.end(), std::uint8_t{0});
    const GvspPackets packets(frame, 65535, 576, extended);
    ASSERT_EQ(packets.Count(), 6u);
    const std::size_t header = extended ? 20 : 8;
    Bytes image;
    GvspPacket packet;
    for (std::uint32_t number = 0; number < packets.Count(); ++number) {
      packets.Make(number, packet);
      const std::uint32_t format = number == 0 ? 1 : number == 5 ? 2 : 3;
      EXPECT_EQ(packet.head[4], format | (extended ? 0x80 : 0));
      EXPECT_EQ(packet.head[header - 1], number);
      EXPECT_LE(packet.headSize + packet.data.size() + 28, 576u);
      if (number == 0) {
        EXPECT_EQ((ReadNumber<std::endian::big, std::uint64_t>(packet.head, header + 4)), 77u);
        EXPECT_EQ((ReadNumber<std::endian::big, std::uint32_t>(packet.head, header + 16)), 64u);
      }
      image.insert(image.end(), packet.data.begin(), packet.data.end());
    }
    EXPECT_EQ(image, frame.image);
    EXPECT_EQ(GvspPackets::NextBlock(65535, extended), extended ? 65536u : 1u);
  }
}

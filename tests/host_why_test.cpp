// SPDX-License-Identifier: MIT
// `vireo-cam why` as its user meets it, on causes that need no network of their own.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "support/program.h"
#include "support/simulated_network_camera.h"

namespace {

using nlohmann::json;
using namespace testing;

TEST(Why, NamesTheCauseItsEvidenceAndWhatToDo) {
  const struct {
    const char* camera;
    const char* settings;
    int status;
    const char* text;
  } rows[] = {
      {"--rate 10", "", 0,
       "^healthy: [0-9]+ frames in 1.[0-9] s, .*none lost, none bad; commands are answered"},
      {"--rate 10",
       "TriggerSelector=AcquisitionStart TriggerMode=On TriggerSource=Software TriggerSelector=FrameStart", 5,
       "^1. The camera waits for a trigger .trigger.\n"
       "   TriggerMode.TriggerSelector=AcquisitionStart. is On, TriggerSource is Software\n"
       "   0 frames, 0 bad, 0 lost in 1.[0-9] s\n"
       "   -> to let it run freely: vireo-cam -a 127.0.0.1 set TriggerSelector=AcquisitionStart "
       "TriggerMode=Off\n"
       "   -> or fire it: vireo-cam -a 127.0.0.1 run TriggerSoftware\n$"},
      {"--rate 10", "AcquisitionMode=MultiFrame AcquisitionFrameCount=4", 5,
       "stops after 4 frames .frame-count.\n"},
      {"--rate 10 --mtu 2000", "GevSCPSPacketSize=8000", 5,
       "Packets of 8000 bytes are larger .*.packet-size.\n"},
      {"--rate 10 --faults 'packet 2% lost; resend 1- lost'", "", 5,
       "lost before this computer .network-loss.\n"},
      {"--rate 20", "DeviceLinkThroughputLimitMode=On DeviceLinkThroughputLimit=1000000", 5,
       "-> vireo-cam -a 127.0.0.1 set DeviceLinkThroughputLimitMode=Off\n"},
  };
  for (const auto& row : rows) {
    const SimulatedNetworkCamera camera(row.camera);
    ASSERT_EQ(run(network + "set Gain=0 " + row.settings).status, 0);
    const auto before = run(network + "get 'Trigger*' GevSCPSPacketSize").out;
    const auto result = run(network + "why --seconds 1");
    EXPECT_EQ(result.status, row.status) << row.camera << result.out << result.err;
    EXPECT_THAT(result.out, ContainsRegex(row.text)) << row.camera << row.settings;
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(run(network + "get 'Trigger*' GevSCPSPacketSize").out, before);  // it changes nothing
  }
}

TEST(Why, SaysThatNobodyAnswersOrSomebodyHasIt) {
  const auto nobody = run(network + "why --json");
  EXPECT_EQ(nobody.status, 3);
  const json verdicts = json::parse(nobody.out);
  ASSERT_EQ(verdicts.size(), 1u);
  EXPECT_EQ(verdicts[0]["cause"], "no-camera");
  EXPECT_THAT(verdicts[0]["evidence"][0], HasSubstr("nobody listens"));
  const SimulatedNetworkCamera camera("--rate 10");
  Program other(network + "watch --json --lines");
  other.WaitFor("\"second\":1");
  const auto busy = run(network + "why");
  EXPECT_EQ(busy.status, 5);
  EXPECT_THAT(busy.out, StartsWith("1. Another program on 127.0.0.1 controls the camera [busy]\n"));
  other.Signal(SIGINT);
  EXPECT_EQ(other.Wait().status, 0);
  const auto inside = run("--simulate why --seconds 1 --json");
  EXPECT_EQ(inside.out, "[]\n") << inside.err;
}

TEST(Why, DoesNotWaitForACameraThatAnswersLate) {
  const SimulatedNetworkCamera camera("--late 300");
  const auto late = run(network + "why --json");
  EXPECT_EQ(late.status, 5);
  EXPECT_EQ(json::parse(late.out)[0]["cause"], "late-answers");
  EXPECT_THAT(late.out, ContainsRegex("answers late, after 3[0-9]+ ms"));
}

TEST(Why, TellsAnInterruptAndLeavesThePacketSize) {
  const SimulatedNetworkCamera camera("--rate 10 --mtu 2000");
  ASSERT_EQ(run(network + "set GevSCPSPacketSize=8000").status, 0);
  Program why(network + "why --seconds 10");
  waitUntil("control", [] {
    const std::string cameras = run("cameras").out;
    return cameras.find("SIM01") != std::string::npos && cameras.find("free") == std::string::npos;
  });
  why.Signal(SIGINT);
  const auto result = why.Wait();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "vireo-cam: interrupted before there was an answer\n");
  EXPECT_EQ(run(network + "get GevSCPSPacketSize").out, "GevSCPSPacketSize=8000\n");
}

TEST(Why, FixesWhatIsSafe) {
  const SimulatedNetworkCamera camera("--rate 10 --mtu 2000");
  ASSERT_EQ(run(network + "set TriggerMode=On GevSCPSPacketSize=8000").status, 0);
  const auto result = run(network + "why --seconds 1 --fix");
  EXPECT_THAT(result.out, HasSubstr("   done: TriggerMode[TriggerSelector=FrameStart]=Off\n"));
  EXPECT_THAT(result.out, ContainsRegex("   done: GevSCPSPacketSize=[12][0-9]*\n"));
  EXPECT_THAT(result.out, ContainsRegex("\nafter that:\nhealthy: "));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(run(network + "get TriggerMode").out, "TriggerMode=Off\n");
  ASSERT_EQ(run(network + "set TriggerMode=On AcquisitionMode=SingleFrame").status, 0);
  const auto half = run(network + "why --seconds 1 --fix --json");
  EXPECT_EQ(half.status, 5);
  const json looks = json::parse(half.out);
  EXPECT_EQ(looks["causes"][0]["done"][0], "TriggerMode[TriggerSelector=FrameStart]=Off");
  EXPECT_EQ(looks["after"][0]["cause"], "single-frame");
}

}  // namespace

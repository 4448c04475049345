// SPDX-License-Identifier: MIT
// vireo-cam --reconnect, on cameras that go and come again.
#include <gmock/gmock.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "support/process_use.h"
#include "support/program.h"
#include "support/read_csv.h"
#include "support/simulated_network_camera.h"
#include "support/usb_environment.h"

namespace {

using nlohmann::json;
using namespace testing;

// A camera on 127.0.0.1 that can be switched off and on, and knows nothing of before then.
class SwitchedCamera {
 public:
  SwitchedCamera() { SwitchOn(); }
  void SwitchOff() { camera_.reset(); }
  void SwitchOn() { camera_.emplace("--rate 100"); }

 private:
  std::optional<SimulatedNetworkCamera> camera_;
};

TEST(Reconnect, GoesOnWithNumbersAndSettings) {
  SwitchedCamera camera;
  const TemporaryDirectory directory;
  const std::filesystem::path list = directory / "f" / "frames.csv";
  ASSERT_EQ(run(network + "set ExposureTime=5000 Gain=3 Width=64 TriggerSource=Line0").status, 0);
  Program grab(network + "grab --reconnect --trigger software --sweep ExposureTime=2000,4000 -n 400 -o '" +
               (directory / "f").string() + "'");
  for (const std::size_t rows : {20u, 500u}) {
    waitUntil("frames", [&] { return readCsv(list).size() > rows; });
    camera.SwitchOff();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    camera.SwitchOn();
  }
  const auto result = grab.Wait();
  EXPECT_EQ(result.status, 5);
  EXPECT_THAT(result.out, StartsWith("800 frames"));
  EXPECT_THAT(
      result.err,
      AllOf(HasSubstr("note: the link to the camera is lost: connecting to Vireo SimulatedCamera SIM01"),
            ContainsRegex("note: frames come again, after [0-9.]+ s without\n"), HasSubstr("2 outages")));
  const auto rows = readCsv(list);
  ASSERT_EQ(rows.size(), 801u);
  EXPECT_EQ(rows[0].back(), "outage_s");
  int outages = 0;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    EXPECT_EQ(
        rows[i][7],
        std::string("frame_000000").replace(12 - std::to_string(i).size(), 6, std::to_string(i)) + ".png");
    EXPECT_EQ(rows[i][2], i <= 400 ? "2000" : "4000");
    EXPECT_EQ(rows[i][10], rows[i][2]);
    EXPECT_EQ(rows[i][3], "64");
    if (rows[i].size() == 11) continue;  // an empty last cell
    ++outages;
    EXPECT_GT(std::stod(rows[i][11]), 0.1);
    EXPECT_EQ(rows[i][0], "1");
  }
  EXPECT_EQ(outages, 2);
  EXPECT_EQ(run(network + "get ExposureTime Gain Width TriggerMode TriggerSource").out,
            "ExposureTime=5000\nGain=3\nWidth=64\nTriggerMode=Off\nTriggerSource=Line0\n");
}

// Threads and descriptors of a program that watches, once it has seen so many outages.
std::pair<std::ptrdiff_t, std::ptrdiff_t> useAfter(const Program& watch, int outages) {
  watch.WaitFor("\"outages\":" + std::to_string(outages));
  const ProcessUse use = ProcessUse::of(std::to_string(watch.Id()));
  return {use.threads, use.descriptors};
}

TEST(Reconnect, HoldsNoMoreAfterManyLosses) {
  SwitchedCamera camera;
  Program watch(network + "watch --reconnect --json --lines");
  const auto before = useAfter(watch, 0);
  for (int loss = 1; loss <= 4; ++loss) {
    camera.SwitchOff();
    camera.SwitchOn();
    EXPECT_EQ(useAfter(watch, loss), before) << loss;
  }
  camera.SwitchOff();  // and is away at the end, which is not certain yet
  std::this_thread::sleep_for(std::chrono::seconds(4));
  watch.Signal(SIGTERM);
  const auto result = watch.Wait();
  EXPECT_EQ(result.status, 4);
  EXPECT_THAT(result.err, ContainsRegex("vireo-cam: the link to the camera is lost[^\n]*\n$"));
  const json summary = json::parse(result.out.substr(result.out.find("{\"summary\"")))["summary"];
  EXPECT_EQ(summary["outages"], 4);
  EXPECT_GT(summary["outage_seconds"], 1.0);
  EXPECT_GT(summary["open_outage_seconds"], 4.0);
}

TEST(Reconnect, WorksOnUsbToo) {
  const std::string leaving =
      "VIREO_USB_RETURN=200 VIREO_USB_FAULTS='packet 60 disconnect' " + usbCameraEnvironment;
  for (const std::string address : {"--address FEED00000001 ", ""}) {
    Program watch(address + "watch --reconnect --json --lines", leaving);
    const auto once = useAfter(watch, 1);
    EXPECT_EQ(useAfter(watch, 4), once);
    watch.Signal(SIGINT);
    EXPECT_EQ(watch.Wait().status, 5);
  }
}

}  // namespace

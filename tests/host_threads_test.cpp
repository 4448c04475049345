// SPDX-License-Identifier: MIT
// Host threads at once on one adapter, two cameras at once, records of several threads. Made for
// ThreadSanitizer; the network camera is on the loopback address.
#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <regex>
#include <sstream>
#include <thread>

#include "support/network_camera.h"
#include "support/receive_loop.h"
#include "support/recording_logger.h"
#include "support/rounds.h"
#include "support/simulated_camera.h"

using namespace testing;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using vireo::common::AcquisitionMode;

namespace {

void printMiddleAndLongest(std::vector<milliseconds> stops) {
  std::ranges::sort(stops);
  std::cout << "  stops: median " << stops[stops.size() / 2].count() << ", longest " << stops.back().count()
            << " ms\n";
}

class HostThreads : public TestWithParam<const char*> {
 protected:
  void SetUp() override {
    // GLib complains when a stream is used that is released, or released while it is used.
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
    if (GetParam() == std::string(NetworkCamera::address)) network.emplace();
    useCamera(GetParam());
    adapter.Connect();
    adapter.Write({makeParameter("AcquisitionFrameRate", 200.0), makeParameter("Width", 64),
                   makeParameter("Height", 64)});
  }

  void start(std::optional<long> frames) {
    const std::string error = errorOf([&] { adapter.StartAcquisition(frames); });
    starts += error == "nothing thrown";
    EXPECT_THAT(error, AnyOf("nothing thrown", "GenICamAdapter: not connected"));
  }

  // Returns how long the stops of running acquisitions took.
  std::vector<milliseconds> controlAtRandom(unsigned seed, int times) {
    std::vector<milliseconds> stops;
    std::mt19937 random(seed);
    for (int time = 0; time < times; ++time) {
      const auto choice = random() % 8;
      if (choice == 0) adapter.Disconnect();
      if (choice == 1) adapter.Connect();
      if (choice == 2) std::this_thread::sleep_for(milliseconds(random() % 20));
      if (choice == 3 || choice == 4) start({});
      if (choice == 5) start(static_cast<long>(1 + random() % 3));
      if (choice < 6) continue;
      const bool running = adapter.GetAcquisitionState().mode != AcquisitionMode::Stopped;
      const auto begun = steady_clock::now();
      adapter.StopAcquisition();
      if (running) stops.push_back(std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun));
    }
    return stops;
  }

  int starts = 0;
  std::optional<NetworkCamera> network;
  OpenAdapter adapter{GetParam()};
};

}  // namespace

TEST_P(HostThreads, StartStopConnectAndDisconnectUnderAReceiveLoop) {
  const Repeating poll([&] {
    const auto messages = adapter.CheckConnection().messages;
    EXPECT_THAT(messages, AnyOf(IsEmpty(), ElementsAre("GenICamAdapter is not connected")));
    std::this_thread::sleep_for(milliseconds(1));
  });
  const ReceiveLoop loop(adapter);
  std::vector<milliseconds> stops;
  repeatWithoutGrowth(rounds(4, 10), [&](int round) {
    const auto more = controlAtRandom(round, rounds(50, 200));
    stops.insert(stops.end(), more.begin(), more.end());
    adapter.Disconnect();
  });
  adapter.Connect();
  adapter.StartAcquisition({});
  EXPECT_TRUE(loop.waitFor(3));
  EXPECT_GT(starts, 0);
  ASSERT_GT(stops.size(), 4u);
  printMiddleAndLongest(stops);
}

TEST_P(HostThreads, FeaturesAreReadAndWrittenWhileFramesComeAndRunsEndThemselves) {
  const ReceiveLoop loop(adapter);
  for (int round = 0; round < rounds(30, 300); ++round) {
    adapter.StartAcquisition(round % 3 == 0 ? std::optional<long>() : 1 + round % 2);
    adapter.Write(makeParameter("ExposureTime", 100.0 + round));
    EXPECT_EQ(adapter.Read("ExposureTime").GetValue<float>(), 100.0F + static_cast<float>(round));
    EXPECT_FALSE(adapter.Scan().empty());
    adapter.StopAcquisition();
  }
}

INSTANTIATE_TEST_SUITE_P(On, HostThreads, Values("Fake_1", NetworkCamera::address),
                         [](const auto& row) { return row.param[0] == 'F' ? "InProcess" : "Network"; });

TEST(TwoCameras, DeliverToTwoAdaptersAtTheSameTime) {
  NetworkCamera camera;
  OpenAdapter one("Fake_1");
  OpenAdapter two(NetworkCamera::address);
  useCamera("Fake_1");
  one.Connect();
  useCamera(NetworkCamera::address);
  two.Connect();
  one.Write(makeParameter("Width", 64));
  two.Write(makeParameter("Width", 128));
  one.StartAcquisition({});
  two.StartAcquisition({});
  {
    const ReceiveLoop first(one);
    const ReceiveLoop second(two);
    EXPECT_TRUE(first.waitFor(20));
    EXPECT_TRUE(second.waitFor(20));
    one.StopAcquisition();
    EXPECT_TRUE(second.waitFor(5));
  }
  EXPECT_EQ(one.Read("Width").GetValue<int>(), 64);
  EXPECT_EQ(two.Read("Width").GetValue<int>(), 128);
  one.Write(makeParameter("Width", 512));
}

TEST(Records, OfSeveralThreadsStayWholeLinesOnStandardError) {
  testing::internal::CaptureStderr();
  std::vector<std::thread> threads;
  for (char name = 'a'; name < 'e'; ++name) {
    threads.emplace_back([name] {
      for (int i = 0; i < 500; ++i) BRIO_LOG_WARNING("{}", std::string(200, name));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::istringstream lines(testing::internal::GetCapturedStderr());
  const std::regex whole(R"(\d{4}-[^:]*:\d\d:.*_test\.cpp:\d+:operator\(\):[^:]*: (([a-d])\2{199}))");
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    EXPECT_TRUE(std::regex_match(line, whole)) << line;
  EXPECT_EQ(count, 2000);
}

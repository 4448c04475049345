// SPDX-License-Identifier: MIT
// Host threads at once on one adapter, two cameras at once, records of several threads. Made for
// ThreadSanitizer; the network camera is on the loopback address.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <random>
#include <regex>
#include <thread>

#include "support/network_camera.h"
#include "support/receive_loop.h"
#include "support/recording_logger.h"
#include "support/rounds.h"
#include "support/simulated_camera.h"

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using vireo::common::AdapterBase;

namespace {

/// Asks for the state until it is destroyed.
class StatePoll {
 public:
  explicit StatePoll(const AdapterBase& adapter)
      : thread_([this, &adapter] {
          while (!stop_) {
            const auto state = adapter.GetAcquisitionState();
            if (state.framesRemaining.value_or(0) < 0 || state.frameRate < 0.0) ++nonsense_;
            std::this_thread::sleep_for(milliseconds(1));
          }
        }) {}
  ~StatePoll() {
    stop_ = true;
    thread_.join();
    EXPECT_EQ(nonsense_, 0);
  }

 private:
  std::atomic<bool> stop_{false};
  std::atomic<int> nonsense_{0};
  std::thread thread_;
};

/// The one controlling thread: it connects, starts, stops and disconnects at random.
class Controller {
 public:
  explicit Controller(AdapterBase& adapter) : adapter_(adapter) {}

  void round() {
    switch (random_() % 8) {
      case 0:
        return adapter_.Disconnect();
      case 1:
        adapter_.Connect();
        return;
      case 2:
      case 3:
        return start({});
      case 4:
        return start(static_cast<long>(1 + random_() % 3));
      case 5:
        std::this_thread::sleep_for(milliseconds(random_() % 20));
        return;
      default:
        return stop();
    }
  }
  milliseconds longestStop() const { return longestStop_; }
  int slowStops() const { return slowStops_; }
  int stops() const { return stops_; }
  int starts() const { return starts_; }

 private:
  void start(std::optional<long> frames) {
    const std::string error = errorOf([&] { adapter_.StartAcquisition(frames); });
    if (error == "nothing thrown") {
      ++starts_;
    } else {
      EXPECT_EQ(error, "GenICamAdapter: not connected");
    }
  }
  void stop() {
    const auto begun = steady_clock::now();
    adapter_.StopAcquisition();
    const auto time = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun);
    ++stops_;
    slowStops_ += time > milliseconds(300);
    longestStop_ = std::max(longestStop_, time);
  }

  AdapterBase& adapter_;
  std::mt19937 random_{1};
  milliseconds longestStop_{0};
  int starts_ = 0;
  int stops_ = 0;
  int slowStops_ = 0;
};

/// GLib complains when a stream is used that is released, or released while it is used.
class GLibComplaints {
 public:
  GLibComplaints() : earlier_(g_log_set_default_handler(count, &complaints_)) {}
  ~GLibComplaints() {
    g_log_set_default_handler(earlier_, nullptr);
    EXPECT_EQ(complaints_, 0);
  }

 private:
  static void count(const char*, GLogLevelFlags, const char* text, void* complaints) {
    std::cerr << text << '\n';
    ++*static_cast<std::atomic<int>*>(complaints);
  }
  std::atomic<int> complaints_{0};
  GLogFunc earlier_;
};

class HostThreads : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (std::string(GetParam()) == NetworkCamera::address) network.emplace();
    useCamera(GetParam());
    adapter.Connect();
    adapter.Write({makeParameter("AcquisitionFrameRate", 200.0), makeParameter("Width", 64),
                   makeParameter("Height", 64)});
  }

  const GLibComplaints complaints;
  std::optional<NetworkCamera> network;
  OpenAdapter adapter{GetParam()};
};

}  // namespace

TEST_P(HostThreads, StartStopConnectAndDisconnectUnderAReceiveLoop) {
  Controller controller(adapter);
  {
    const StatePoll poll(adapter);
    const ReceiveLoop loop(adapter);
    for (int round = 0; round < rounds(200, 2000); ++round) controller.round();
    adapter.Connect();
    adapter.StartAcquisition({});
    EXPECT_TRUE(loop.waitFor(3));
  }
  EXPECT_GT(controller.starts(), 0);
  // A busy machine holds up a few; a stop that starves behind the loop is slow every time.
  EXPECT_LE(controller.slowStops(), 1 + controller.stops() / 10);
  RecordProperty("longest_stop_ms", static_cast<int>(controller.longestStop().count()));
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
  adapter.StartAcquisition({});
  EXPECT_TRUE(loop.waitFor(3));
}

INSTANTIATE_TEST_SUITE_P(On, HostThreads, testing::Values("Fake_1", NetworkCamera::address),
                         [](const auto& row) { return row.param[0] == 'F' ? "InProcess" : "Network"; });

TEST(TwoCameras, DeliverToTwoAdaptersAtTheSameTime) {
  NetworkCamera camera;
  OpenAdapter one("Fake_1");
  useCamera("Fake_1");
  one.Connect();
  OpenAdapter two(NetworkCamera::address);
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
  char file[] = "/tmp/vireo_records_XXXXXX";
  const int target = mkstemp(file);
  ASSERT_GE(target, 0);
  const int standardError = dup(STDERR_FILENO);
  dup2(target, STDERR_FILENO);
  std::vector<std::thread> threads;
  for (char name = 'a'; name < 'e'; ++name) {
    threads.emplace_back([name] {
      const std::string text(200, name);
      for (int i = 0; i < 500; ++i) BRIO_LOG_WARNING("{}", text);
    });
  }
  for (std::thread& thread : threads) thread.join();
  dup2(standardError, STDERR_FILENO);
  close(standardError);
  close(target);

  const std::regex whole(
      R"(\d{4}-\d\d-\d\dT\d\d:\d\d:[0-9.]+:\.\./.*host_threads_test\.cpp:\d+:operator\(\):.*: (a{200}|b{200}|c{200}|d{200}))");
  std::ifstream lines(file);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    EXPECT_TRUE(std::regex_match(line, whole)) << line;
  EXPECT_EQ(count, 2000);
  unlink(file);
}

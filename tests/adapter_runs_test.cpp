// SPDX-License-Identifier: MIT
// Finite runs that end on the receiving thread while the controlling thread does something else, and host
// code that takes the host's own lock wherever the adapter calls it. On the in-process camera.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <thread>

#include "genicam/adapter/src/acquisition_runs.h"
#include "genicam/adapter/src/fair_mutex.h"
#include "support/aravis_script.h"
#include "support/receive_loop.h"
#include "support/recording_logger.h"
#include "support/simulated_camera.h"

using namespace testing;
using std::chrono::milliseconds;
using vireo::common::AcquisitionMode;
using vireo::genicam::AcquisitionRuns;

namespace {

const std::string complete = "GenICamAdapter: finite acquisition complete (1 frames)";
const std::string lost = "GenICamAdapter: camera control lost";

void loseControl(ArvDevice* device) {
  g_signal_emit_by_name(device, "control-lost");
}

class Runs : public Test {
 protected:
  // What hangs ends here, not at the time-out of the whole test.
  void SetUp() override { alarm(240); }
  void TearDown() override { alarm(0); }

  void connect(OpenAdapter& camera) {
    camera.Connect();
    camera.Write({makeParameter("Width", 64), makeParameter("Height", 64),
                  makeParameter("AcquisitionFrameRate", 1000.0)});
  }
  // A receive on a thread of its own delivers the last frame of a run. Its record is held up while
  // `meanwhile` runs. `afterwards` comes when the receive has returned, and ends what still logs.
  void completeDuring(
      OpenAdapter& camera, const std::function<void()>& meanwhile,
      const std::function<void()>& afterwards = [] {}) {
    std::promise<void> recorded, done;
    std::atomic<bool> first{true};
    logger.onRecord = [&](const std::string& text) {
      if (text != complete || !first.exchange(false)) return;
      recorded.set_value();
      done.get_future().wait();
    };
    std::thread receiver([&] { EXPECT_EQ(receive(camera, memory, info, 1), 1); });
    recorded.get_future().wait();
    meanwhile();
    done.set_value();
    receiver.join();
    afterwards();
    logger.onRecord = nullptr;
  }

  RecordingLogger logger;
  AravisScript script;
  std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(1 << 20);
  vireo::common::FrameInfo info;
};

}  // namespace

TEST_F(Runs, CompleteWhileHostCodeTakesTheHostsOwnLock) {
  static std::recursive_mutex host;
  using Guard = std::lock_guard<std::recursive_mutex>;
  class LockingAdapter : public OpenAdapter {
   public:
    using OpenAdapter::Read;
    vireo::common::Parameter Read(const std::string& name) override {
      return Guard(host), OpenAdapter::Read(name);
    }
    void StartAcquisition(std::optional<long> frames) override {
      const Guard guard(host);
      OpenAdapter::StartAcquisition(frames);
    }
    void StopAcquisition() override {
      const Guard guard(host);
      OpenAdapter::StopAcquisition();
    }
  } adapter;
  connect(adapter);
  logger.onRecord = [](const std::string&) { const Guard guard(host); };
  const ReceiveLoop loop(adapter);
  for (int run = 0; run < 200; ++run) {
    adapter.StartAcquisition(1);
    while (adapter.GetAcquisitionState().mode != AcquisitionMode::Stopped) adapter.Read("Width");
  }
  EXPECT_EQ(logger.count(complete), 200u);
}

TEST_F(Runs, HoldNothingWhileAReceiveRecordsABadFrame) {
  OpenAdapter adapter;
  connect(adapter);
  std::mutex host;
  logger.onRecord = [&](const std::string& text) {
    if (text.find("too large") != std::string::npos) const std::lock_guard guard(host);
  };
  const Repeating receiver([&] { receive(adapter, std::span(memory).first(1), info, 1, 1); });
  for (std::size_t run = 1; run <= 20; ++run) {
    adapter.StartAcquisition({});
    while (logger.count("GenICamAdapter: frame too large (4096 > 1)") < run) std::this_thread::yield();
    const std::lock_guard guard(host);
    adapter.StopAcquisition();
  }
}

// The controlling thread scans, and goes on to its next access at once.
TEST_F(Runs, WaitForTheFeatureAccessInFlightAndNoOther) {
  OpenAdapter adapter;
  connect(adapter);
  for (int run = 0; run < 5; ++run) {
    adapter.StartAcquisition(1);
    std::thread receiver;
    script.during("get_integer Width", [&] {
      receiver = std::thread([&] { receive(adapter, memory, info, 1); });
      while (logger.count(complete) == 0) std::this_thread::sleep_for(milliseconds(1));
      std::this_thread::sleep_for(milliseconds(50));
      EXPECT_THAT(script.takeCalls(), Not(Contains("execute AcquisitionStop")));
    });
    adapter.Scan();
    receiver.join();
    EXPECT_EQ(script.takeCalls().front(), "execute AcquisitionStop");
    logger.take();
  }
}

TEST_F(Runs, ThatAreOverEndNoLaterOne) {
  OpenAdapter adapter;
  connect(adapter);
  const auto restart = [&] { adapter.StartAcquisition({}); };
  const std::tuple<const char*, std::function<void()>, const char*> rows[] = {
      {"restart", restart, "connected continuous active"},
      {"stop", [&] { adapter.StopAcquisition(); }, "connected stopped"},
      {"stop and start", [&] { adapter.StopAcquisition(), restart(); }, "connected continuous active"},
      {"connect and start", [&] { adapter.Connect(), restart(); }, "connected continuous active"},
      {"rejected start",
       [&] {
         script.fail("execute AcquisitionStart");
         EXPECT_ANY_THROW(adapter.StartAcquisition(5));
       },
       "connected finite 5 active"},  // active is what the run before left
  };
  for (const auto& [name, meanwhile, state] : rows) {
    adapter.StartAcquisition(1);
    completeDuring(adapter, [&] {
      meanwhile();
      script.takeCalls();
    });
    EXPECT_THAT(script.takeCalls(), Not(Contains("execute AcquisitionStop"))) << name;
    EXPECT_EQ(stateOf(adapter), state) << name;
    EXPECT_EQ(receive(adapter, memory, info, 1, 5), std::string(state).ends_with("active")) << name;
    adapter.StopAcquisition();
  }
}

TEST_F(Runs, WaitForNoConnectionThatIsBeingMade) {
  OpenAdapter adapter("Fake_1", 5.0);
  connect(adapter);
  adapter.StartAcquisition(1);
  std::thread control;
  std::atomic<bool> connected{false};
  completeDuring(
      adapter,
      [&] {
        script.fail("open", "not yet", 2);
        control = std::thread([&] { adapter.Connect(), connected = true; });
        while (script.count("open") < 2) std::this_thread::sleep_for(milliseconds(1));
      },
      [&] {
        EXPECT_FALSE(connected);
        control.join();
      });
  EXPECT_EQ(stateOf(adapter), "connected stopped");
}

TEST_F(Runs, ThatEndDuringACommandOfTheControllingThreadLeaveOneState) {
  OpenAdapter adapter;
  connect(adapter);
  for (const char* command : {"execute AcquisitionStart", "execute AcquisitionStop", "get_integer Width"}) {
    std::thread receiver;
    if (command != std::string("execute AcquisitionStart")) adapter.StartAcquisition(1);
    script.during(command, [&] {
      receiver = std::thread([&] { receive(adapter, memory, info, 1); });
      while (logger.count(complete) == 0) std::this_thread::sleep_for(milliseconds(1));
    });
    if (command == std::string("execute AcquisitionStart")) adapter.StartAcquisition(1);
    if (command == std::string("execute AcquisitionStop")) adapter.StopAcquisition();
    if (command == std::string("get_integer Width")) adapter.StartAcquisition({});
    receiver.join();
    const bool restarted = command == std::string("get_integer Width");
    EXPECT_EQ(stateOf(adapter), restarted ? "connected continuous active" : "connected stopped") << command;
    EXPECT_EQ(receive(adapter, memory, info, 1, 5) == 1, restarted) << command;
    logger.take();
  }
}

// The start is held up between its command and its end: by the record of a loss that the command raised.
TEST_F(Runs, ThatEndBeforeTheStartReturnsAreStopped) {
  OpenAdapter adapter;
  connect(adapter);
  for (const bool stopsFirst : {false, true}) {
    std::thread receiver;
    std::atomic<bool> stopping{false}, started{false};
    logger.onRecord = [&](const std::string& text) {
      if (text != lost) return;
      while (stopsFirst ? logger.count("GenICamAdapter: acquisition stopped") == 0 : !stopping)
        std::this_thread::sleep_for(milliseconds(1));
    };
    script.during("execute AcquisitionStart", [&] {
      receiver = std::thread([&] { receive(adapter, memory, info, 1); });
      loseControl(script.device);
    });
    script.during("execute AcquisitionStop", [&] {
      stopping = true;
      while (!stopsFirst && !started) std::this_thread::sleep_for(milliseconds(1));
    });
    adapter.StartAcquisition(1);
    started = true;
    receiver.join();
    EXPECT_EQ(stateOf(adapter), "connected stopped") << stopsFirst;
    logger.onRecord = nullptr;
    logger.take();
  }
}

TEST_F(Runs, AreAskedAboutOneAtATime) {
  OpenAdapter adapter;
  connect(adapter);
  const ReceiveLoop loop(adapter);
  const Repeating poll([&] {
    const auto state = adapter.GetAcquisitionState();
    EXPECT_EQ(state.mode == AcquisitionMode::Finite, state.framesRemaining.has_value());
    const auto remaining = state.framesRemaining.value_or(1);
    EXPECT_TRUE(remaining <= 2 || remaining > 999'000) << remaining;
  });
  for (int run = 0; run < 60; ++run) {
    adapter.StartAcquisition(run % 3 == 0 ? 1'000'000 : 2);
    if (run % 3 == 1) adapter.StopAcquisition();
  }
}

TEST_F(Runs, LossesRaisedInsideACallAreRecordedOnceNothingIsHeld) {
  OpenAdapter adapter;
  connect(adapter);
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"get_float Gain", [&] { adapter.Read("Gain"); }},
      {"bounds_integer Width", [&] { adapter.Scan(); }},
      {"set_integer Width", [&] { adapter.Write(makeParameter("Width", 64)); }},
      {"create_stream", [&] { adapter.StartAcquisition({}); }},
      {"execute AcquisitionStop", [&] { adapter.StopAcquisition(); }},
  };
  logger.onRecord = [&](const std::string& text) {
    if (text != lost) return;
    auto other =
        std::async(std::launch::async, [&] { adapter.Read("Height"), adapter.GetAcquisitionState(); });
    EXPECT_EQ(other.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  };
  for (const auto& [call, operation] : rows) {
    script.during(call, [&] {
      loseControl(script.device);
      loseControl(script.device);
      EXPECT_FALSE(adapter.CheckConnection().ok);
      EXPECT_EQ(logger.count(lost), 0u) << call;
    });
    operation();
    EXPECT_THAT(logger.take(), Contains("onControlLost|30|" + lost).Times(2)) << call;
  }

  adapter.StartAcquisition({});
  const auto loseControlOf = [](void* device, GObject*) { loseControl(static_cast<ArvDevice*>(device)); };
  g_object_weak_ref(G_OBJECT(script.stream), loseControlOf, script.device);
  logger.onRecord = [&](const std::string& text) {
    if (text != lost) return;
    auto other = std::async(std::launch::async, [&] { receive(adapter, memory, info, 1, 1); });
    EXPECT_EQ(other.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(G_OBJECT(script.device)->ref_count, 1u);  // the stream, which holds the device, is gone
  };
  adapter.StopAcquisition();
  EXPECT_EQ(logger.count(lost), 1u);
}

TEST_F(Runs, DisconnectWaitsForNoLossThatAnotherAdapterReports) {
  OpenAdapter one, two;
  one.Connect();
  ArvDevice* const device = script.device;
  two.Connect();
  std::promise<void> reporting, disconnected;
  logger.onRecord = [&](const std::string& text) {
    if (text != lost) return;
    reporting.set_value();
    disconnected.get_future().wait();
  };
  std::thread heartbeat([&] { loseControl(device); });
  reporting.get_future().wait();
  two.Disconnect();
  disconnected.set_value();
  heartbeat.join();
}

TEST_F(Runs, LendTheStreamToNobodyWhileItIsHeldAndEndOnce) {
  constexpr int times = 30'000;
  AcquisitionRuns runs;
  std::vector<std::atomic<int>> ended(10 * times);
  std::atomic<int> inside{0};
  std::atomic<long> loans{0};
  const auto end = [&](AcquisitionRuns::Run run) { runs.end(run, [&] { ++ended.at(run); }); };
  const auto borrow = [&] {
    AcquisitionRuns::Loan loan(runs);
    if (loan.stream() == nullptr) return;
    ++inside;
    ++loans;
    --inside;
    if (const auto delivery = loan.deliver(); delivery.complete) end(delivery.run);
  };
  const Repeating first(borrow), second(borrow);
  for (int i = 0; i < times || (loans < 1000 && i < 5 * times); ++i) {
    AcquisitionRuns::Hold hold(runs);
    ASSERT_EQ(inside, 0);
    if (hold.stream() == nullptr)
      hold.put(reinterpret_cast<ArvStream*>(g_object_new(G_TYPE_OBJECT, nullptr)));
    hold.reset(i % 3);
    hold.lend();
    if (i % 16 == 0) std::this_thread::yield();
    if (i % 5 == 0) end(hold.run());
  }
  AcquisitionRuns::Hold(runs).drop();
  EXPECT_TRUE(std::ranges::all_of(ended, [](int ends) { return ends <= 1; }));
}

TEST_F(Runs, AreFollowedByTheNextWhenTheirStreamIsGone) {
  struct Drop {
    std::atomic<bool> begun{false}, done{false};
  } drop;
  const auto linger = [](void* data, GObject*) {
    static_cast<Drop*>(data)->begun = true;
    std::this_thread::sleep_for(milliseconds(50));
    static_cast<Drop*>(data)->done = true;
  };
  GObject* const stream = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
  g_object_weak_ref(stream, linger, &drop);
  AcquisitionRuns runs;
  AcquisitionRuns::Hold(runs).put(reinterpret_cast<ArvStream*>(stream));
  std::thread receiver([&] { runs.end({}, [] {}); });
  while (!drop.begun) std::this_thread::yield();
  const AcquisitionRuns::Hold next(runs);
  EXPECT_TRUE(drop.done);
  receiver.join();
}

TEST(FairMutex, IsHandedToWhoeverWaits) {
  vireo::genicam::FairMutex mutex;
  std::atomic<bool> hadItsTurn{false};
  mutex.lock();
  std::thread other([&] {
    const std::lock_guard guard(mutex);
    hadItsTurn = true;
  });
  std::this_thread::sleep_for(milliseconds(50));
  mutex.unlock();
  mutex.lock();
  EXPECT_TRUE(hadItsTurn);
  mutex.unlock();
  other.join();
}

// SPDX-License-Identifier: MIT
// Connecting, checking and disconnecting.
#include <gmock/gmock.h>

#include <atomic>
#include <limits>
#include <thread>

#include "support/aravis_script.h"
#include "support/recording_logger.h"
#include "support/simulated_camera.h"

using namespace testing;

namespace {

class Connect : public Test {
 protected:
  RecordingLogger logger;
  AravisScript script;
  OpenAdapter adapter;
};

}  // namespace

TEST(Adapter, EntryPointsMakeAndEndAnAdapterAndIgnoreNull) {
  vireo::common::AdapterBase* const adapter = CreateAdapter();
  EXPECT_EQ(adapter->GetProtocol(), "genicam");
  EXPECT_THAT(adapter->CheckConnection().messages, ElementsAre("GenICamAdapter is not connected"));
  EXPECT_EQ(adapter->GetNativeParameterDocument().extension, "");
  destroyAdapter(adapter);
  destroyAdapter(nullptr);
}

TEST_F(Connect, RefusesATimeoutThatIsNoTime) {
  const auto initialise = [&](double timeout) { adapter.Initialise({"Fake_1", timeout}); };
  EXPECT_EQ(errorOf([&] { initialise(-1.0); }), "connectTimeout must be zero or more seconds, not -1");
  EXPECT_NE(errorOf([&] { initialise(std::numeric_limits<double>::quiet_NaN()); }), "nothing thrown");
}

TEST_F(Connect, ReportsEachStepInOrder) {
  adapter.Initialise({"  Fake_1\n", 0.0});
  const auto catalogue = adapter.Connect();
  EXPECT_TRUE(adapter.IsConnected() && adapter.CheckConnection().ok);
  EXPECT_TRUE(catalogue.contains("ActionDeviceKey"));  // write-only, not read
  EXPECT_EQ(script.count("get_integer ActionDeviceKey"), 0u);
  EXPECT_EQ(script.count("set_integer TLParamsLocked"), 1u);
  for (const char* name : {"AcquisitionStart", "Root"}) EXPECT_FALSE(catalogue.contains(name));
  EXPECT_EQ(catalogue.at("Width").GetValueAsString(), "512");

  const auto records = logger.take();
  EXPECT_EQ(records[0], "Connect|20|GenICamAdapter: connecting to 'Fake_1'");
  EXPECT_THAT(
      records[1],
      MatchesRegex("loadNodeMapFromDevice.20.GenICamAdapter: parsed [1-9][0-9]* nodes from device XML"));
  EXPECT_THAT(records, Contains("Connect|10|GenICamAdapter: param 'Width' (camera-native)"));
  EXPECT_THAT(records.back(),
              MatchesRegex("Connect.20.GenICamAdapter: connected, [1-9][0-9]* nodes, payload=262144 bytes"));
}

TEST_F(Connect, TestsTheTimeoutAfterAnAttemptAndKeepsTheLastReportedError) {
  // How long, the error of each attempt (empty: none reported), what is reported in the end.
  const std::tuple<double, std::vector<std::string>, std::string> rows[] = {
      {0.0, {""}, ""}, {0.0, {"no such camera"}, ": no such camera"}, {0.5, {"first", ""}, ": first"}};
  for (const auto& [seconds, attempts, reported] : rows) {
    for (const std::string& error : attempts) script.fail("open", error);
    adapter.Initialise({" ", seconds});
    EXPECT_EQ(errorOf([&] { adapter.Connect(); }), "GenICamAdapter: connection timeout" + reported);
    EXPECT_EQ(script.takeCalls().size(), attempts.size());
    EXPECT_FALSE(adapter.IsConnected());
    const auto records = logger.take();
    EXPECT_EQ(records.front(), "Connect|20|GenICamAdapter: connecting to '(auto)'");
    EXPECT_EQ(std::vector(records.begin() + 1, records.end()),
              std::vector(attempts.size() - 1,
                          std::string("Connect|10|GenICamAdapter: device '(auto)' not found, retrying...")));
  }
}

TEST_F(Connect, RefusesAnObjectThatIsNoDevice) {
  script.opened = G_OBJECT(arv_buffer_new(1, nullptr));
  EXPECT_EQ(errorOf([&] { adapter.Connect(); }), "GenICamAdapter: invalid device handle");
  EXPECT_EQ(script.opened->ref_count, 1u);
  EXPECT_FALSE(adapter.CheckConnection().ok);
  g_object_unref(script.opened);
}

TEST_F(Connect, WithoutADescriptionHasAnEmptyCatalogue) {
  script.xml = "";
  EXPECT_THAT(adapter.Connect(), IsEmpty());
  EXPECT_THAT(adapter.Scan(), IsEmpty());
  EXPECT_EQ(adapter.GetNativeParameterDocument().content, "");
  EXPECT_EQ(logger.take().back(), "Connect|20|GenICamAdapter: connected, 0 nodes, payload=0 bytes");
}

TEST_F(Connect, WithABrokenDescriptionLeavesNothingHalfDone) {
  const vireo::genicam::GObjectGuard<ArvDevice> device(arv_open_device("Fake_1", nullptr));
  script.opened = G_OBJECT(device.get());
  auto broken = std::make_unique<OpenAdapter>();
  for (const bool retried : {true, false}) {
    script.xml = "<RegisterDescription><Category";
    EXPECT_NE(errorOf([&] { broken->Connect(); }), "nothing thrown");
    EXPECT_FALSE(broken->IsConnected());
    script.xml.reset();
    EXPECT_EQ(retried && broken->Connect().empty(), false);
  }
  broken.reset();
  EXPECT_EQ(script.opened->ref_count, 1u);
  logger.take();
  g_signal_emit_by_name(script.opened, "control-lost");
  EXPECT_THAT(logger.take(), IsEmpty());
}

TEST_F(Connect, TakesThePayloadFromTheCameraElseFromTheLargestFrameElseKeepsIt) {
  class LargestFrame : public OpenAdapter {
   public:
    vireo::common::BasicParams GetBasicParams() const override {
      ++asked;
      vireo::common::BasicParams params;
      params.frameSize = 77;
      return params;
    }
    mutable int asked = 0;
  } host;
  script.fail("get_integer PayloadSize");
  host.Connect();
  EXPECT_THAT(logger.take().back(), HasSubstr("payload=77 bytes"));
  script.xml = R"(<RegisterDescription><Category Name="Root"><pFeature>Label</pFeature></Category>
      <String Name="Label"><Value>x</Value></String></RegisterDescription>)";
  host.Connect();
  EXPECT_EQ(host.asked, 1);
  EXPECT_THAT(logger.take().back(), HasSubstr("connected, 2 nodes, payload=77 bytes"));
}

TEST(Disconnect, AndStopGoThroughTheInterfaceAndKeepEverythingWhenTheHostRefuses) {
  CountingAdapter adapter;
  adapter.Connect();
  adapter.StartAcquisition({});
  adapter.Connect();
  EXPECT_EQ(adapter.disconnects, 2);
  EXPECT_EQ(adapter.stops, 1);
  adapter.StartAcquisition({});
  adapter.refuseStop = true;
  EXPECT_EQ(errorOf([&] { adapter.Disconnect(); }), "not now");
  EXPECT_TRUE(adapter.CheckConnection().ok);
  EXPECT_EQ(adapter.Read("Width").GetValue<int>(), 512);
  adapter.refuseStop = false;
  adapter.Disconnect();
  EXPECT_FALSE(adapter.IsConnected());
  EXPECT_EQ(adapter.GetBasicParams().widthParam, "");
}

namespace {

// Holds up the thread that reports a loss.
void linger(std::atomic<bool>& onItsWay) {
  onItsWay = true;
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
}
gboolean lingerBeforeTheHandler(GSignalInvocationHint*, guint, const GValue*, void* onItsWay) {
  linger(*static_cast<std::atomic<bool>*>(onItsWay));
  return FALSE;
}
void noteThread(void* thread, GObject*) {
  *static_cast<std::thread::id*>(thread) = std::this_thread::get_id();
}

}  // namespace

TEST(Disconnect, EndsTheDeviceItselfWhileALossIsBeingReported) {
  using Adapter = std::unique_ptr<OpenAdapter>;
  void (*const operations[])(Adapter&) = {[](Adapter& adapter) { adapter->Disconnect(); },
                                          [](Adapter& adapter) { adapter.reset(); },
                                          [](Adapter& adapter) { adapter->Connect(); }};
  for (int run = 0; run < 6; ++run) {
    RecordingLogger logger;
    AravisScript script;
    Adapter adapter = std::make_unique<OpenAdapter>();
    adapter->Connect();
    std::thread::id endedBy;
    g_object_weak_ref(G_OBJECT(script.device), noteThread, &endedBy);
    const guint signal = g_signal_lookup("control-lost", ARV_TYPE_DEVICE);
    std::atomic<bool> onItsWay{false};
    if (run < 3) {
      logger.onRecord = [&](const std::string& text) {
        if (text.ends_with("control lost")) linger(onItsWay);
      };
    } else {
      g_signal_add_emission_hook(signal, 0, lingerBeforeTheHandler, &onItsWay, nullptr);
    }
    std::thread heartbeat([signal, device = script.device] { g_signal_emit(device, signal, 0); });
    while (!onItsWay) std::this_thread::yield();
    operations[run % 3](adapter);
    EXPECT_EQ(endedBy, std::this_thread::get_id()) << run;
    heartbeat.join();
    EXPECT_EQ(adapter && adapter->IsConnected() && adapter->CheckConnection().ok, run % 3 == 2);
  }
}

TEST(Guards, OwnOneReference) {
  using Guard = vireo::genicam::GObjectGuard<ArvBuffer>;
  const Guard kept(arv_buffer_new(1, nullptr));
  const auto another = [&] { return ARV_BUFFER(g_object_ref(kept.get())); };
  const auto owners = [&] { return G_OBJECT(kept.get())->ref_count; };
  {
    Guard first(another());
    Guard& same = first;
    first = std::move(same);
    EXPECT_EQ(owners(), 2u);
    first = Guard(another());
    EXPECT_EQ(owners(), 2u);
    first.reset(another());
    const Guard last(first.release());
    EXPECT_EQ(owners(), 2u);
  }
  EXPECT_EQ(owners(), 1u);
}

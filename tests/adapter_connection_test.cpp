// SPDX-License-Identifier: MIT
// Connecting, losing control, checking and disconnecting.
#include <gmock/gmock.h>

#include <limits>

#include "support/aravis_script.h"
#include "support/recording_logger.h"
#include "support/simulated_camera.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using vireo::common::CheckResult;

namespace {

constexpr const char* timeout = "GenICamAdapter: connection timeout";

/// A description with just these features under Root; they exist for the adapter, not for the camera.
std::string description(const std::string& names, const std::string& nodes) {
  return "<RegisterDescription><Category Name=\"Root\">" + names + "</Category>" + nodes +
         "</RegisterDescription>";
}

}  // namespace

TEST(Adapter, EntryPointsMakeAndEndAnAdapterAndIgnoreNull) {
  vireo::common::AdapterBase* const adapter = CreateAdapter();
  EXPECT_FALSE(adapter->IsConnected());
  EXPECT_EQ(adapter->GetProtocol(), "genicam");
  EXPECT_THAT(adapter->CheckConnection().messages, ElementsAre("GenICamAdapter is not connected"));
  EXPECT_EQ(adapter->GetNativeParameterDocument().extension, "");
  adapter->Disconnect();
  destroyAdapter(adapter);
  destroyAdapter(nullptr);
}

TEST(Adapter, RefusesATimeoutThatIsNoTime) {
  OpenAdapter adapter;
  EXPECT_EQ(errorOf([&] {
              adapter.Initialise({"Fake_1", -1.0});
            }),
            "connectTimeout must be zero or more seconds, not -1");
  EXPECT_NE(errorOf([&] {
              adapter.Initialise({"", std::numeric_limits<double>::quiet_NaN()});
            }),
            "nothing thrown");
}

TEST(Connect, ReportsEachStepInOrder) {
  RecordingLogger logger;
  AravisScript script;
  OpenAdapter adapter("  Fake_1\n");
  const auto catalogue = adapter.Connect();

  EXPECT_TRUE(adapter.IsConnected());
  EXPECT_TRUE(adapter.CheckConnection().ok);
  EXPECT_THAT(adapter.CheckConnection().messages, IsEmpty());
  EXPECT_TRUE(catalogue.contains("Width"));
  EXPECT_TRUE(catalogue.contains("ActionDeviceKey"));  // write-only, not read
  EXPECT_FALSE(catalogue.contains("AcquisitionStart"));
  EXPECT_FALSE(catalogue.contains("Root"));
  EXPECT_EQ(catalogue.at("Width").GetValueAsString(), "512");

  const auto records = logger.take();
  const std::string nodes = "^[0-9]+ nodes";
  EXPECT_EQ(records[0], "Connect|20|GenICamAdapter: connecting to 'Fake_1'");
  EXPECT_THAT(records[1], AllOf(StartsWith("loadNodeMapFromDevice|20|GenICamAdapter: parsed "),
                                HasSubstr(" nodes from device XML")));
  EXPECT_THAT(records, Contains("Connect|10|GenICamAdapter: param 'Width' (camera-native)"));
  EXPECT_EQ(*(records.end() - 2), "Connect|10|GenICamAdapter: TLParamsLocked cleared");
  EXPECT_THAT(records.back(), AllOf(StartsWith("Connect|20|GenICamAdapter: connected, "),
                                    HasSubstr(" nodes, payload=262144 bytes")));
  const auto calls = script.takeCalls();
  EXPECT_EQ(calls[0], "open");
  EXPECT_EQ(calls[1], "get_xml");
  EXPECT_EQ(calls.back(), "set_integer TLParamsLocked");
  EXPECT_THAT(calls, Not(Contains("get_integer ActionDeviceKey")));
}

TEST(Connect, TestsTheTimeoutAfterAnAttemptAndKeepsTheLastReportedError) {
  const struct {
    double seconds;
    std::vector<std::string> attempts;  // the error of each; empty: none reported
    std::string expected;
  } rows[] = {
      {0.0, {""}, timeout},
      {0.0, {"no such camera"}, std::string(timeout) + ": no such camera"},
      {0.5, {"first", ""}, std::string(timeout) + ": first"},
  };
  for (const auto& row : rows) {
    RecordingLogger logger;
    AravisScript script;
    for (const std::string& error : row.attempts) script.fail("open", error);
    OpenAdapter adapter(" ", row.seconds);
    EXPECT_EQ(errorOf([&] { adapter.Connect(); }), row.expected);
    EXPECT_EQ(script.takeCalls().size(), row.attempts.size());
    EXPECT_EQ(logger.count("GenICamAdapter: connecting to '(auto)'"), 1u);
    EXPECT_EQ(logger.count("GenICamAdapter: device '(auto)' not found, retrying..."),
              row.attempts.size() - 1);
    EXPECT_FALSE(adapter.IsConnected());
    adapter.Initialise({"Fake_1", 0.0});
    EXPECT_FALSE(adapter.Connect().empty());
  }
}

TEST(Connect, RefusesAnObjectThatIsNoDevice) {
  AravisScript script;
  script.opened = G_OBJECT(arv_buffer_new(1, nullptr));
  OpenAdapter adapter;
  EXPECT_EQ(errorOf([&] { adapter.Connect(); }), "GenICamAdapter: invalid device handle");
  EXPECT_EQ(script.opened->ref_count, 1u);
  EXPECT_THAT(adapter.CheckConnection().messages, ElementsAre("GenICamAdapter is not connected"));
  g_object_unref(script.opened);
}

TEST(Connect, WithoutADescriptionHasAnEmptyCatalogue) {
  RecordingLogger logger;
  AravisScript script;
  script.xml = "";
  OpenAdapter adapter;
  EXPECT_THAT(adapter.Connect(), IsEmpty());
  EXPECT_THAT(adapter.Scan(), IsEmpty());
  EXPECT_EQ(adapter.GetNativeParameterDocument().content, "");
  EXPECT_THAT(logger.take(),
              ElementsAre("Connect|20|GenICamAdapter: connecting to 'Fake_1'",
                          "loadNodeMapFromDevice|30|GenICamAdapter: no GenICam XML from device",
                          "Connect|10|GenICamAdapter: TLParamsLocked cleared",
                          "Connect|20|GenICamAdapter: connected, 0 nodes, payload=0 bytes"));
}

TEST(Connect, LeavesNothingHalfDoneWhenTheDescriptionIsBroken) {
  AravisScript script;
  script.xml = "<RegisterDescription><Category";
  OpenAdapter adapter;
  EXPECT_NE(errorOf([&] { adapter.Connect(); }), "nothing thrown");
  EXPECT_FALSE(adapter.IsConnected());
  script.xml.reset();
  EXPECT_FALSE(adapter.Connect().empty());
}

TEST(Connect, TakesThePayloadFromTheCameraElseFromTheLargestFrameElseKeepsIt) {
  class Counting : public OpenAdapter {
   public:
    vireo::common::BasicParams GetBasicParams() const override {
      ++asked;
      auto params = OpenAdapter::GetBasicParams();
      params.frameSize = 77;
      return params;
    }
    mutable int asked = 0;
  };
  RecordingLogger logger;
  AravisScript script;
  Counting adapter;
  script.fail("get_integer PayloadSize");
  script.fail("set_integer TLParamsLocked", "locked for good");
  adapter.Connect();
  EXPECT_EQ(adapter.asked, 1);
  auto records = logger.take();
  EXPECT_THAT(records, Contains("Connect|10|GenICamAdapter: TLParamsLocked unlock: locked for good"));
  EXPECT_THAT(records.back(), HasSubstr("payload=77 bytes"));
  script.xml = description("<pFeature>Label</pFeature>", "<String Name=\"Label\"><Value>x</Value></String>");
  adapter.Connect();
  EXPECT_EQ(adapter.asked, 1);
  EXPECT_THAT(logger.take().back(), HasSubstr("connected, 2 nodes, payload=77 bytes"));
}

TEST(Connect, DisconnectsFirstThroughTheInterface) {
#ifdef __clang__
  GTEST_SKIP() << "trace texts are GCC's";
#endif
  class Counting : public OpenAdapter {
   public:
    void Disconnect() override {
      ++disconnects;
      OpenAdapter::Disconnect();
    }
    void StopAcquisition() override {
      ++stops;
      OpenAdapter::StopAcquisition();
    }
    int disconnects = 0;
    int stops = 0;
  };
  RecordingLogger logger(0);
  Counting adapter;
  adapter.Connect();
  adapter.StartAcquisition({});
  logger.take();
  adapter.Connect();
  EXPECT_EQ(adapter.disconnects, 2);
  EXPECT_EQ(adapter.stops, 1);
  const std::string method = "vireo::genicam::GenICamAdapter::";
  const auto records = logger.take();
  EXPECT_THAT(
      std::vector(records.begin(), records.begin() + 5),
      ElementsAre("Connect|0|virtual std::map<std::__cxx11::basic_string<char>, vireo::common::Parameter> " +
                      method + "Connect()",
                  "Disconnect|0|virtual void " + method + "Disconnect()",
                  "StopAcquisition|0|virtual void " + method + "StopAcquisition()",
                  "StopAcquisition|20|GenICamAdapter: acquisition stopped",
                  "Connect|20|GenICamAdapter: connecting to 'Fake_1'"));
}

TEST(Connect, ForgetsWhatTheLastAdapterLeftInTheDevice) {
  // Somebody else keeps the device: its signal must not reach an adapter that is gone.
  RecordingLogger logger;
  AravisScript script;
  GError* error = nullptr;
  simulatedCamera();
  ArvDevice* const device = arv_open_device("Fake_1", &error);
  script.opened = G_OBJECT(device);
  {
    OpenAdapter adapter;
    adapter.Connect();
    EXPECT_EQ(G_OBJECT(device)->ref_count, 2u);
    g_signal_emit_by_name(device, "control-lost");
    EXPECT_EQ(logger.count("GenICamAdapter: camera control lost"), 1u);
    EXPECT_THAT(adapter.CheckConnection().messages, ElementsAre("Camera control lost (signal received)"));
    adapter.Disconnect();
    EXPECT_THAT(adapter.CheckConnection().messages, ElementsAre("GenICamAdapter is not connected"));
    adapter.Connect();
    EXPECT_TRUE(adapter.CheckConnection().ok);
  }
  EXPECT_EQ(G_OBJECT(device)->ref_count, 1u);
  g_signal_emit_by_name(device, "control-lost");
  EXPECT_EQ(logger.count("GenICamAdapter: camera control lost"), 1u);
  g_object_unref(device);
}

TEST(Disconnect, KeepsEverythingWhenStoppingThrows) {
  class Refusing : public OpenAdapter {
   public:
    void StopAcquisition() override {
      if (refuse) throw std::runtime_error("not now");
      OpenAdapter::StopAcquisition();
    }
    bool refuse = true;
  };
  Refusing adapter;
  adapter.Connect();
  adapter.StartAcquisition({});
  EXPECT_EQ(errorOf([&] { adapter.Disconnect(); }), "not now");
  EXPECT_TRUE(adapter.CheckConnection().ok);
  EXPECT_EQ(adapter.Read("Width").GetValue<int>(), 512);
  adapter.refuse = false;
  adapter.Disconnect();
  EXPECT_FALSE(adapter.IsConnected());
}

TEST(Guards, OwnOneReference) {
  using vireo::genicam::GObjectGuard;
  ArvBuffer* const one = arv_buffer_new(1, nullptr);
  ArvBuffer* const two = arv_buffer_new(1, nullptr);
  g_object_ref(one);
  g_object_ref(two);
  {
    GObjectGuard<ArvBuffer> first(one);
    GObjectGuard<ArvBuffer> second(two);
    GObjectGuard<ArvBuffer>& same = first;
    first = std::move(same);
    EXPECT_EQ(G_OBJECT(one)->ref_count, 2u);
    first = std::move(second);
    EXPECT_EQ(G_OBJECT(one)->ref_count, 1u);
    EXPECT_EQ(first.get(), two);
    EXPECT_EQ(first.release(), two);
    EXPECT_FALSE(first);
    EXPECT_EQ(G_OBJECT(two)->ref_count, 2u);
    GObjectGuard<ArvBuffer> third(two);
    g_object_ref(two);
    third.reset(two);
    EXPECT_EQ(G_OBJECT(two)->ref_count, 2u);
  }
  EXPECT_EQ(G_OBJECT(two)->ref_count, 1u);
  g_object_unref(one);
  g_object_unref(two);

  vireo::genicam::GErrorGuard error;
  EXPECT_EQ(error.message(), "");
  error.error = g_error_new_literal(ARV_DEVICE_ERROR, 1, "broken");
  EXPECT_EQ(error.message(), "broken");
}

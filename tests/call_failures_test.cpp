// SPDX-License-Identifier: MIT
// Every Aravis call that the adapter makes fails once, at each place where it makes it; and adapters end in
// every state. On the in-process camera; run it with leak detection.
#include <gmock/gmock.h>

#include "support/aravis_script.h"
#include "support/recording_logger.h"
#include "support/simulated_camera.h"

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using vireo::common::AcquisitionMode;
using vireo::common::FrameInfo;
using vireo::common::Parameter;

namespace {

enum class Operation { Connect, Scan, Read, Write, Document, Start, Receive, Stop };

/// What the host must see when one call fails: the exception's text, and a record; empty for none.
struct Outcome {
  std::string error;
  std::string record;
};

constexpr const char* operationNames[] = {"Connect",  "Scan",  "Read",    "Write",
                                          "Document", "Start", "Receive", "Stop"};

struct CallName {
  explicit CallName(const std::string& call)
      : verb(call.substr(0, call.find(' '))),
        feature(call.find(' ') == std::string::npos ? "" : call.substr(call.find(' ') + 1)) {}
  std::string verb;
  std::string feature;
};

/// A single feature that fails while all are refreshed is at most a debug record of the refresh.
Outcome refreshOutcome(const CallName& call) {
  if (call.verb != "get_integer" && call.verb != "get_float") return {};
  return {"", "scanParameters|10|GenICamAdapter: failed to read " + call.verb.substr(4) + " '" +
                  call.feature + "': scripted"};
}

Outcome singleAccessOutcome(const CallName& call) {
  if (call.verb == "execute") return {"Execute command '" + call.feature + "': scripted", ""};
  const std::string kind = call.feature == "PixelFormat" ? "enum" : call.verb.substr(4);
  return {(call.verb.starts_with("get") ? "Read " : "Write ") + kind + " '" + call.feature + "': scripted",
          ""};
}

Outcome expectedOutcome(Operation operation, const CallName& call, bool refreshing) {
  if (call.verb == "open") return {"GenICamAdapter: connection timeout: scripted", ""};
  if (call.verb == "create_stream") {
    return {"Create stream: scripted", "checkError|40|Create stream: scripted"};
  }
  switch (operation) {
    case Operation::Connect:
      if (call.verb == "get_xml")
        return {"", "loadNodeMapFromDevice|30|GenICamAdapter: no GenICam XML from device"};
      if (call.verb == "set_integer")
        return {"", "Connect|10|GenICamAdapter: TLParamsLocked unlock: scripted"};
      return refreshOutcome(call);
    case Operation::Start:
      if (call.verb == "execute")
        return {"Execute AcquisitionStart: scripted", "checkError|40|Execute AcquisitionStart: scripted"};
      return refreshing ? refreshOutcome(call) : Outcome{};
    case Operation::Scan:
      return refreshOutcome(call);
    case Operation::Read:
    case Operation::Write:
      return singleAccessOutcome(call);
    case Operation::Receive:
      if (call.verb == "data") return {"", "ReceiveFrame|10|GenICamAdapter: buffer status=0, recycling"};
      return {};
    case Operation::Stop:
      return {"", "StopAcquisition|30|GenICamAdapter: AcquisitionStop error: scripted"};
    default:
      return {};
  }
}

/// What a host does, one operation at a time, each from the state that it needs.
class Host {
 public:
  void prepare(Operation operation) {
    if (operation == Operation::Connect) return adapter.Disconnect();
    if (!adapter.IsConnected()) adapter.Connect();
    if (operation == Operation::Start) adapter.StopAcquisition();
    if (operation == Operation::Receive || operation == Operation::Stop) adapter.StartAcquisition({});
  }

  /// A text that says how it went; equal texts, equal results.
  std::string run(Operation operation) {
    switch (operation) {
      case Operation::Connect:
        return std::to_string(adapter.Connect().size()) + " parameters";
      case Operation::Scan:
        return std::to_string(adapter.Scan().size()) + " parameters";
      case Operation::Read:
        return std::to_string(adapter.Read(accessed).size()) + " read";
      case Operation::Write:
        adapter.Write(writes());
        return "written";
      case Operation::Document:
        return std::to_string(adapter.GetNativeParameterDocument().content.size()) + " bytes";
      case Operation::Start:
        adapter.StartAcquisition({});
        return adapter.acquisitionActive ? "started" : "not active";
      case Operation::Receive:
        return receive(adapter, memory, info, 1, 1) == 1 ? "received" : "no frame";
      case Operation::Stop:
        adapter.StopAcquisition();
        return adapter.acquisitionActive ? "still active" : "stopped";
    }
    return {};
  }

  OpenAdapter adapter;

 private:
  std::vector<Parameter> writes() {
    std::vector<Parameter> values = adapter.Read(accessed);
    values.push_back(makeParameter("TriggerSoftware", 1));
    return values;
  }

  const std::vector<std::string> accessed{"OffsetX", "Gain", "UserOutputValue", "DeviceUserID",
                                          "PixelFormat"};
  std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(1 << 20);
  FrameInfo info;
};

class CallFailures : public testing::TestWithParam<Operation> {};

}  // namespace

TEST_P(CallFailures, AreReportedLeaveARightStateAndARetryWorks) {
  const Operation operation = GetParam();
  RecordingLogger logger;
  AravisScript script;
  Host host;
  host.prepare(operation);
  script.takeCalls();
  const std::string success = host.run(operation);
  const std::vector<std::string> places = script.takeCalls();
  ASSERT_FALSE(places.empty());
  const auto lastOfRefresh =
      std::find(places.begin(), places.end(), "create_stream") - (operation == Operation::Start ? 1 : 0);

  for (std::size_t place = 0; place < places.size(); ++place) {
    if (places[place] == "push_buffer") continue;  // it has no way to fail
    SCOPED_TRACE("call " + std::to_string(place) + ": " + places[place]);
    host.prepare(operation);
    script.takeCalls();
    logger.take();
    script.failAt(place, "scripted");
    std::string result;
    const std::string error = errorOf([&] { result = host.run(operation); });
    script.failAt(SIZE_MAX, "");
    const Outcome expected =
        expectedOutcome(operation, CallName(places[place]),
                        static_cast<std::ptrdiff_t>(place) < lastOfRefresh - places.begin());
    EXPECT_EQ(error, expected.error.empty() ? "nothing thrown" : expected.error);
    const auto records = logger.take();
    if (expected.record.empty()) {
      EXPECT_THAT(records, Not(Contains(HasSubstr("scripted"))));
    } else {
      EXPECT_THAT(records, Contains(expected.record));
    }
    EXPECT_EQ(host.adapter.IsConnected(), places[place] != "open");
    host.prepare(operation);
    EXPECT_EQ(host.run(operation), success);
  }
}

INSTANTIATE_TEST_SUITE_P(OfEvery, CallFailures,
                         testing::Values(Operation::Connect, Operation::Scan, Operation::Read,
                                         Operation::Write, Operation::Document, Operation::Start,
                                         Operation::Receive, Operation::Stop),
                         [](const auto& row) { return operationNames[static_cast<int>(row.param)]; });

TEST(Destruction, LeavesNothingBehindInAnyState) {
  const struct {
    const char* state;
    std::function<void(OpenAdapter&, AravisScript&)> enter;
  } rows[] = {
      {"fresh", [](OpenAdapter&, AravisScript&) {}},
      {"connected", [](OpenAdapter& adapter, AravisScript&) { adapter.Connect(); }},
      {"acquiring",
       [](OpenAdapter& adapter, AravisScript&) {
         adapter.Connect();
         adapter.StartAcquisition({});
       }},
      {"a rejected start",
       [](OpenAdapter& adapter, AravisScript& script) {
         adapter.Connect();
         script.fail("execute AcquisitionStart");
         errorOf([&] { adapter.StartAcquisition(3); });
       }},
      {"control lost while acquiring",
       [](OpenAdapter& adapter, AravisScript& script) {
         adapter.Connect();
         adapter.StartAcquisition({});
         g_signal_emit_by_name(script.opened, "control-lost");
       }},
      {"no camera",
       [](OpenAdapter& adapter, AravisScript& script) {
         script.fail("open");
         errorOf([&] { adapter.Connect(); });
       }},
      {"a broken description",
       [](OpenAdapter& adapter, AravisScript& script) {
         script.xml = "<RegisterDescription><Category";
         errorOf([&] { adapter.Connect(); });
       }},
      {"disconnected",
       [](OpenAdapter& adapter, AravisScript&) {
         adapter.Connect();
         adapter.Disconnect();
       }},
  };
  simulatedCamera();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.state);
    RecordingLogger logger;
    AravisScript script;
    script.opened = G_OBJECT(arv_open_device("Fake_1", nullptr));
    {
      OpenAdapter adapter;
      row.enter(adapter, script);
    }
    EXPECT_EQ(script.opened->ref_count, 1u);
    logger.take();
    g_signal_emit_by_name(script.opened, "control-lost");
    EXPECT_TRUE(logger.take().empty());
    g_object_unref(script.opened);
  }
}

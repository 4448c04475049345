// SPDX-License-Identifier: MIT
// Every Aravis call that the adapter makes fails once, at each place where it makes it, and the adapter ends
// there. On the in-process camera; run it with leak detection.
#include <gmock/gmock.h>

#include <regex>

#include "support/aravis_script.h"
#include "support/recording_logger.h"
#include "support/rounds.h"
#include "support/simulated_camera.h"

using namespace testing;

namespace {

// What the host must see when a call fails: the exception's text and a record, empty for none; $1 and $2
// stand for parts of the call. The first row that fits counts; a call without one fails unseen.
struct Fault {
  std::string call;  // the operation and the call
  std::string error;
  std::string record = {};
  std::string state = {};  // that the adapter is left in; the operation's when empty
};

const Fault faults[] = {
    {"Connect open", "GenICamAdapter: connection timeout: scripted", "", "disconnected stopped"},
    {"Connect get_xml", "", "loadNodeMapFromDevice|30|GenICamAdapter: no GenICam XML from device"},
    {"Connect set_integer TLParamsLocked", "", "Connect|10|GenICamAdapter: TLParamsLocked unlock: scripted"},
    {"(?:Connect|Scan|Start) get_(integer|float) (.*)", "",
     "scanParameters|10|GenICamAdapter: failed to read $1 '$2': scripted"},
    {"Access get_string PixelFormat", "Read enum 'PixelFormat': scripted"},
    {"Access get_(.*) (.*)", "Read $1 '$2': scripted"},
    {"Access set_string PixelFormat", "Write enum 'PixelFormat': scripted"},
    {"Access set_(.*) (.*)", "Write $1 '$2': scripted"},
    {"Access execute (.*)", "Execute command '$1': scripted"},
    {"Start create_stream", "Create stream: scripted", "checkError|40|Create stream: scripted",
     "connected stopped"},
    {"Start execute (.*)", "Execute $1: scripted", "checkError|40|Execute $1: scripted",
     "connected continuous"},
    {"Receive data", "", "ReceiveFrame|10|GenICamAdapter: buffer status=0, recycling"},
    {"Stop execute .*", "", "StopAcquisition|30|GenICamAdapter: AcquisitionStop error: scripted"},
};

// What a host does, from the state that it needs.
struct Operation {
  const char* name;
  const char* state;  // afterwards, also when a call failed unseen
  void (*prepare)(OpenAdapter&);
  long (*run)(OpenAdapter&);  // returns how much came of it
};

void connected(OpenAdapter& adapter) {
  if (!adapter.IsConnected()) adapter.Connect();
}
void started(OpenAdapter& adapter) {
  connected(adapter);
  adapter.StartAcquisition({});
}
void stopped(OpenAdapter& adapter) {
  connected(adapter);
  adapter.StopAcquisition();
}

long access(OpenAdapter& adapter) {
  auto values = adapter.Read(
      std::vector<std::string>{"OffsetX", "Gain", "UserOutputValue", "DeviceUserID", "PixelFormat"});
  values.push_back(makeParameter("TriggerSoftware", 1));
  adapter.Write(values);
  return std::ssize(values);
}
long receiveOne(OpenAdapter& adapter) {
  std::vector<std::uint8_t> memory(1 << 20);
  vireo::common::FrameInfo info;
  return receive(adapter, memory, info, 1, 1);
}

using A = OpenAdapter;
const Operation operations[] = {
    {"Connect", "connected stopped", [](A& a) { a.Disconnect(); },
     [](A& a) { return std::ssize(a.Connect()); }},
    {"Scan", "connected stopped", connected, [](A& a) { return std::ssize(a.Scan()); }},
    {"Access", "connected stopped", connected, access},
    {"Document", "connected stopped", connected,
     [](A& a) { return std::ssize(a.GetNativeParameterDocument().content); }},
    {"Start", "connected continuous active", stopped, [](A& a) { return a.StartAcquisition({}), 0L; }},
    {"Receive", "connected continuous active", started, receiveOne},
    {"Stop", "connected stopped", started, [](A& a) { return a.StopAcquisition(), 0L; }},
};

Fault expectedOf(const Operation& operation, const std::vector<std::string>& calls, std::size_t place) {
  const std::string call = operation.name + (" " + calls[place]);
  // After the refresh a start asks for the payload once more and can do without the answer.
  const bool canDoWithout = place + 1 < calls.size() && calls[place + 1] == "create_stream";
  for (const Fault& fault : faults) {
    const std::regex pattern(fault.call);
    if (canDoWithout || !std::regex_match(call, pattern)) continue;
    return {call, std::regex_replace(call, pattern, fault.error),
            std::regex_replace(call, pattern, fault.record),
            fault.state.empty() ? operation.state : fault.state};
  }
  return {call, "", "", operation.state};
}

// The records that are there because something failed.
std::vector<std::string> failuresIn(std::vector<std::string> records) {
  static const std::regex failure(R"([^|]*\|([34]0\|.*|.*(scripted|recycling)$))");
  std::erase_if(records, [](const std::string& record) { return !std::regex_match(record, failure); });
  return records;
}

class CallFailures : public TestWithParam<Operation> {
 protected:
  CallFailures() { script.opened = G_OBJECT(device.get()); }
  // What the operation throws when its call at this place fails.
  std::string errorAt(std::size_t place) {
    GetParam().prepare(*adapter);
    script.takeCalls();
    logger.take();
    script.failAt(place, "scripted");
    const std::string error = errorOf([&] { GetParam().run(*adapter); });
    script.failAt(SIZE_MAX, "");
    return error;
  }

  RecordingLogger logger;
  std::unique_ptr<OpenAdapter> adapter = std::make_unique<OpenAdapter>();
  vireo::genicam::GObjectGuard<ArvDevice> device{arv_open_device("Fake_1", nullptr)};
  AravisScript script;
};

}  // namespace

TEST_P(CallFailures, AreReportedLeaveARightStateAndARetryWorks) {
  const Operation& operation = GetParam();
  operation.prepare(*adapter);
  script.takeCalls();
  const long success = operation.run(*adapter);
  const std::vector<std::string> calls = script.takeCalls();
  ASSERT_FALSE(calls.empty());

  repeatWithoutGrowth(rounds(3, 20), [&](int) {
    for (std::size_t place = 0; place < calls.size(); ++place) {
      if (calls[place] == "push_buffer") continue;  // it has no way to fail
      SCOPED_TRACE("call " + std::to_string(place) + ": " + calls[place]);
      const Fault expected = expectedOf(operation, calls, place);
      EXPECT_EQ(errorAt(place), expected.error.empty() ? "nothing thrown" : expected.error);
      const std::vector<std::string> none;
      EXPECT_EQ(failuresIn(logger.take()), expected.record.empty() ? none : std::vector{expected.record});
      EXPECT_EQ(stateOf(*adapter), expected.state);
      operation.prepare(*adapter);
      EXPECT_EQ(operation.run(*adapter), success);
      EXPECT_EQ(stateOf(*adapter), operation.state);

      // Ended in that state it leaves nothing, and the device, which somebody else keeps, reaches it no more.
      errorAt(place);
      adapter = std::make_unique<OpenAdapter>();
      EXPECT_EQ(script.opened->ref_count, 1u);
      logger.take();
      g_signal_emit_by_name(script.opened, "control-lost");
      EXPECT_TRUE(logger.take().empty());
    }
  });
}

INSTANTIATE_TEST_SUITE_P(OfEvery, CallFailures, ValuesIn(operations),
                         [](const auto& row) { return row.param.name; });

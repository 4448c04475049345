// SPDX-License-Identifier: MIT
// What cameras and networks do: unplugged, control taken away, packets lost, settings changed from outside.
// On a GigE Vision camera on the loopback address.
#include <gmock/gmock.h>

#include <cstring>

#include "support/network_camera.h"
#include "support/process_use.h"
#include "support/receive_loop.h"
#include "support/recording_logger.h"
#include "support/rounds.h"
#include "support/simulated_camera.h"

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using vireo::common::FrameInfo;

namespace {

constexpr const char* lost = "GenICamAdapter: camera control lost";
constexpr const char* stopped = "GenICamAdapter: acquisition stopped";

class CameraFaults : public testing::Test {
 protected:
  void SetUp() override { plugIn(); }

  void plugIn() {
    camera.emplace();
    useCamera(NetworkCamera::address);
  }
  void connectAndReceive() {
    adapter->Connect();
    adapter->Write(makeParameter("AcquisitionFrameRate", 50.0));
    adapter->StartAcquisition({});
    ASSERT_EQ(receive(*adapter, memory, info, 3), 3);
  }
  /// Receives until the connection is reported as lost; every call in its time.
  void receiveUntilLost() {
    const auto begun = steady_clock::now();
    while (adapter->CheckConnection().ok && steady_clock::now() - begun < seconds(8)) {
      took("ReceiveFrame", [&] { receive(*adapter, memory, info, 1, 1); });
    }
    EXPECT_LT(longest["ReceiveFrame"], milliseconds(500));
    EXPECT_THAT(adapter->CheckConnection().messages, ElementsAre("Camera control lost (signal received)"));
    EXPECT_EQ(logger.count(lost), 1u);
    note("until noticed", begun);
  }
  void disconnect() {
    took("Disconnect", [&] { adapter->Disconnect(); });
    EXPECT_FALSE(adapter->IsConnected());
  }
  template <typename Action>
  void took(const char* operation, Action action) {
    const auto begun = steady_clock::now();
    action();
    note(operation, begun);
  }
  void note(const std::string& operation, steady_clock::time_point begun) {
    milliseconds& most = longest[operation];
    most = std::max(most, std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun));
  }
  void TearDown() override {
    for (const auto& [operation, time] : longest) {
      std::cout << "  longest " << operation << ": " << time.count() << " ms\n";
    }
  }

  RecordingLogger logger;
  std::optional<NetworkCamera> camera;
  std::unique_ptr<OpenAdapter> adapter = std::make_unique<OpenAdapter>(NetworkCamera::address, 1.0);
  std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(1 << 20);
  FrameInfo info;
  std::map<std::string, milliseconds> longest;
};

}  // namespace

TEST_F(CameraFaults, UnpluggedWhileAcquiring) {
  ProcessUse settled;
  for (int round = 1; round <= rounds(3, 20); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    if (!camera) plugIn();
    connectAndReceive();
    logger.take();
    camera.reset();
    switch (round % 3) {
      case 0:  // the host has not noticed
        took("Disconnect", [&] { adapter->Disconnect(); });
        break;
      case 1:
        receiveUntilLost();
        EXPECT_EQ(receive(*adapter, memory, info, 1, 1), 0);
        took("StopAcquisition", [&] { adapter->StopAcquisition(); });
        EXPECT_THAT(logger.take(),
                    Contains(StartsWith("StopAcquisition|30|GenICamAdapter: AcquisitionStop error: ")));
        disconnect();
        break;
      default:  // the next one finds nothing of this one
        receiveUntilLost();
        took("destruction", [&] { adapter.reset(); });
        adapter = std::make_unique<OpenAdapter>(NetworkCamera::address, 1.0);
    }
    const ProcessUse use = ProcessUse::now();
    if (round <= 3) settled = use;
    EXPECT_EQ(use.threads, settled.threads);
    EXPECT_EQ(use.descriptors, settled.descriptors);
    EXPECT_LT(use.heap, settled.heap + 64 * 1024);
    std::cout << "  round " << round << ": " << use << '\n';
  }
  useCamera(NetworkCamera::address);
  EXPECT_THAT(errorOf([&] { adapter->Connect(); }), StartsWith("GenICamAdapter: connection timeout"));
  plugIn();
  connectAndReceive();
  EXPECT_TRUE(adapter->CheckConnection().ok);
}

TEST_F(CameraFaults, ControlTakenAway) {
  for (int round = 1; round <= rounds(2, 20); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    connectAndReceive();
    logger.take();
    camera->takeControlAway();
    receiveUntilLost();
    took("StopAcquisition", [&] { adapter->StopAcquisition(); });
    EXPECT_THAT(logger.take(), Contains(HasSubstr(stopped)));
    disconnect();
  }
  connectAndReceive();
  EXPECT_TRUE(adapter->CheckConnection().ok);
}

TEST_F(CameraFaults, CostOfEveryOperationWithADeadCamera) {
  connectAndReceive();
  camera.reset();
  receiveUntilLost();
  const auto immediately = [&](const char* operation, auto action) {
    took(operation, action);
    EXPECT_LT(longest[operation], milliseconds(500)) << operation;
  };
  immediately("CheckConnection", [&] { adapter->CheckConnection(); });
  immediately("GetBasicParams", [&] { adapter->GetBasicParams(); });
  immediately("GetAcquisitionState", [&] { adapter->GetAcquisitionState(); });
  immediately("GetNativeParameterDocument", [&] { adapter->GetNativeParameterDocument(); });
  took("Read",
       [&] { EXPECT_THAT(errorOf([&] { adapter->Read("Width"); }), StartsWith("Read integer 'Width': ")); });
  took("Write", [&] {
    EXPECT_THAT(errorOf([&] { adapter->Write(makeParameter("OffsetX", 0)); }),
                StartsWith("Write integer 'OffsetX': "));
  });
  if (rounds(0, 1) == 1) {  // a time-out for every feature
    took("Scan", [&] { adapter->Scan(); });
    took("StartAcquisition", [&] { errorOf([&] { adapter->StartAcquisition({}); }); });
  }
  took("StopAcquisition", [&] { adapter->StopAcquisition(); });
  disconnect();
}

TEST_F(CameraFaults, PacketLoss) {
  // A dozen packets a frame, so that some frames come through at every ratio.
  camera->setRegister(ARV_FAKE_CAMERA_REGISTER_WIDTH, 128);
  camera->setRegister(ARV_FAKE_CAMERA_REGISTER_HEIGHT, 128);
  for (const double ratio : {0.01, 0.05, 0.2}) {
    SCOPED_TRACE(ratio);
    connectAndReceive();
    logger.take();
    camera->losePackets(ratio);
    const int delivered = receive(*adapter, memory, info, 200, rounds(100, 2000));
    const auto records = logger.take();
    const auto recycled = std::count_if(records.begin(), records.end(), [](const std::string& record) {
      return record.find("GenICamAdapter: buffer status=") != std::string::npos;
    });
    std::cout << "  " << ratio * 100 << " %: " << delivered << " delivered, " << recycled << " recycled\n";
    EXPECT_GT(recycled, 0);
    camera->losePackets(0.0);
    // The frames that lost packets before are still on their way; then not one is missing.
    receive(*adapter, memory, info, 30);
    const std::uint64_t first = info.frameId;
    EXPECT_EQ(receive(*adapter, memory, info, 50, 60), 50);
    EXPECT_EQ(info.frameId, (first + 50 - 1) % 65535 + 1);  // block ids of 16 bits, never 0
    adapter->StopAcquisition();
  }
}

TEST_F(CameraFaults, SettingsChangedByAnotherClient) {
  // The simulated camera itself is not up to this and complains of it through GLib.
  const auto complaints = g_log_set_default_handler([](auto...) {}, nullptr);
  constexpr std::size_t spanSize = 640 * 512;
  const struct {
    const char* change;
    std::uint32_t where;
    std::uint32_t value;
    std::uint32_t before;
  } rows[] = {
      {"smaller", ARV_FAKE_CAMERA_REGISTER_WIDTH, 64, 512},
      {"larger", ARV_FAKE_CAMERA_REGISTER_WIDTH, 640, 512},
      {"larger than the host's memory", ARV_FAKE_CAMERA_REGISTER_HEIGHT, 2048, 512},
      {"two bytes a pixel", ARV_FAKE_CAMERA_REGISTER_PIXEL_FORMAT, ARV_PIXEL_FORMAT_MONO_16,
       ARV_PIXEL_FORMAT_MONO_8},
      {"three bytes a pixel", ARV_FAKE_CAMERA_REGISTER_PIXEL_FORMAT, ARV_PIXEL_FORMAT_RGB_8_PACKED,
       ARV_PIXEL_FORMAT_MONO_8},
  };
  const auto receiveGuarded = [&](const std::string& when) {
    std::vector<std::uint8_t> guarded(spanSize + 4096, 0xEE);
    std::span<std::uint8_t> span(guarded.data(), spanSize);
    int got = 0;
    for (int i = 0; i < 20; ++i) {
      bool received = false;
      adapter->ReceiveFrame(received, 0, span, info);
      got += received;
      EXPECT_TRUE(!received || info.size <= spanSize) << when;
    }
    EXPECT_EQ(std::count(guarded.begin() + spanSize, guarded.end(), 0xEE), 4096) << when;
    return got;
  };
  for (const auto& row : rows) {
    for (const bool during : {true, false}) {
      SCOPED_TRACE(row.change);
      connectAndReceive();
      if (!during) adapter->StopAcquisition();
      camera->setRegister(row.where, row.value);
      if (during) {
        receiveGuarded("while acquiring");
        adapter->StopAcquisition();
      }
      // A new start takes the new size; a frame is refused only where the host's memory is too small.
      adapter->StartAcquisition({});
      const auto expected = static_cast<std::uint64_t>(adapter->Read("PayloadSize").GetValue<int>());
      logger.take();
      const int got = receiveGuarded("after a new start");
      if (expected > spanSize) {
        EXPECT_EQ(got, 0);
        EXPECT_THAT(logger.take(), Contains(StartsWith("ReceiveFrame|40|GenICamAdapter: frame too large")));
      } else {
        EXPECT_GT(got, 0);
        EXPECT_EQ(info.size, expected);
      }
      adapter->StopAcquisition();
      camera->setRegister(row.where, row.before);
    }
  }
  g_log_set_default_handler(complaints, nullptr);
}

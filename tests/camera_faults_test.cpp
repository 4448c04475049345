// SPDX-License-Identifier: MIT
// What cameras and networks do: unplugged, control taken away, packets lost, settings changed from outside.
// On a GigE Vision camera on the loopback address.
#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <thread>

#include "simulator/model/registers.h"
#include "support/network_camera.h"
#include "support/receive_loop.h"
#include "support/recording_logger.h"
#include "support/rounds.h"
#include "support/simulated_camera.h"

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using namespace testing;
using vireo::common::FrameInfo;
namespace reg = vireo::simulator::reg;

namespace {

class CameraFaults : public Test {
 protected:
  CameraFaults() { plugIn(); }

  void plugIn(const vireo::simulator::GigeOptions& options = {}) {
    camera.reset();
    camera.emplace(options);
    useCamera(NetworkCamera::address);
  }
  void connectAndReceive() {
    adapter->Connect();
    adapter->Write(makeParameter("AcquisitionFrameRate", 50.0));
    adapter->StartAcquisition({});
    ASSERT_EQ(receive(*adapter, memory, info, 3), 3);
  }
  // Receives until the connection is reported as lost; every call in its time.
  void receiveUntilLost() {
    const auto end = steady_clock::now() + seconds(8);
    took("until noticed", [&] {
      while (logger.count(lost) == 0 && steady_clock::now() < end) {
        took("ReceiveFrame", [&] { receive(*adapter, memory, info, 1, 1); });
      }
    });
    EXPECT_LT(longest["ReceiveFrame"], milliseconds(500));
    EXPECT_THAT(adapter->CheckConnection().messages, ElementsAre("Camera control lost (signal received)"));
    EXPECT_EQ(logger.count(lost), 1u);
  }
  void useLostCamera(bool everything) {
    took("questions", [&] {
      adapter->GetBasicParams();
      adapter->GetAcquisitionState();
      adapter->GetNativeParameterDocument();
    });
    EXPECT_LT(longest["questions"], milliseconds(500));
    took("Read", [&] { EXPECT_ANY_THROW(adapter->Read("Width")); });
    took("Write", [&] { EXPECT_ANY_THROW(adapter->Write(makeParameter("OffsetX", 0))); });
    EXPECT_EQ(receive(*adapter, memory, info, 1, 1), 0);
    if (!everything) return;  // a time-out for every feature
    took("Scan", [&] { adapter->Scan(); });
    took("StartAcquisition", [&] { EXPECT_ANY_THROW(adapter->StartAcquisition({})); });
  }
  void disconnect() {
    took("Disconnect", [&] { adapter->Disconnect(); });
    EXPECT_FALSE(adapter->IsConnected());
  }
  template <typename Action>
  void took(const char* operation, Action action) {
    const auto begun = steady_clock::now();
    action();
    milliseconds& most = longest[operation];
    most = std::max(most, std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun));
  }
  void TearDown() override {
    for (const auto& [operation, time] : longest)
      std::cout << "  longest " << operation << ": " << time.count() << " ms\n";
  }

  static constexpr const char* lost = "GenICamAdapter: camera control lost";
  RecordingLogger logger;
  std::optional<NetworkCamera> camera;
  std::unique_ptr<OpenAdapter> adapter = std::make_unique<OpenAdapter>(NetworkCamera::address, 1.0);
  std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(1 << 20);
  FrameInfo info;
  std::map<std::string, milliseconds> longest;
};

}  // namespace

// A start waits for test packets; the library took a wait that a signal ended for one that came.
TEST_F(CameraFaults, SignalsDoNotHoldUpAStart) {
  vireo::simulator::GigeOptions options;
  options.mtu = 1000;
  plugIn(options);
  adapter->Connect();
  struct sigaction ignore {};
  ignore.sa_handler = [](int) {};
  sigaction(SIGUSR1, &ignore, nullptr);
  std::jthread disturber([starter = pthread_self()](const std::stop_token& stop) {
    for (; !stop.stop_requested(); std::this_thread::sleep_for(milliseconds(1)))
      pthread_kill(starter, SIGUSR1);
  });
  took("StartAcquisition", [&] { adapter->StartAcquisition({}); });
  EXPECT_LT(longest["StartAcquisition"], seconds(5));
}

TEST_F(CameraFaults, UnpluggedWhileAcquiring) {
  repeatWithoutGrowth(rounds(3, 20), [&](int round) {
    if (!camera) plugIn();
    connectAndReceive();
    logger.take();
    EXPECT_TRUE(adapter->CheckConnection().ok);
    camera.reset();
    if (round % 3 == 0) return disconnect();  // the host has not noticed
    receiveUntilLost();
    if (round % 3 == 1) {
      useLostCamera(round == rounds(0, 1));
      took("StopAcquisition", [&] { adapter->StopAcquisition(); });
      EXPECT_THAT(logger.take(),
                  Contains(StartsWith("StopAcquisition|30|GenICamAdapter: AcquisitionStop error: ")));
      disconnect();
    } else {  // the next one finds nothing of this one
      took("destruction", [&] { adapter.reset(); });
      adapter = std::make_unique<OpenAdapter>(NetworkCamera::address, 1.0);
    }
  });
  useCamera(NetworkCamera::address);
  EXPECT_THAT(errorOf([&] { adapter->Connect(); }), StartsWith("GenICamAdapter: connection timeout"));
}

TEST_F(CameraFaults, UnpluggedWhileConnecting) {
  // During the refresh, where every register left costs a time-out; briefly before the last one.
  const std::string moment = rounds(0, 1) == 0 ? "GenICamAdapter: param 'Width'" : "GenICamAdapter: parsed";
  logger.onRecord = [&](const std::string& text) {
    if (text.starts_with(moment)) camera.reset();
  };
  took("Connect", [&] { adapter->Connect(); });
  receiveUntilLost();
  disconnect();
  logger.onRecord = nullptr;
  plugIn();
  connectAndReceive();
}

TEST_F(CameraFaults, ControlTakenAway) {
  repeatWithoutGrowth(rounds(3, 20), [&](int) {
    connectAndReceive();
    logger.take();
    camera->takeControlAway();
    receiveUntilLost();
    took("StopAcquisition", [&] { adapter->StopAcquisition(); });
    EXPECT_THAT(logger.take(), Contains(AllOf(StartsWith("StopAcquisition|30"), HasSubstr("access-denied"))));
    disconnect();
  });
}

TEST_F(CameraFaults, PacketLoss) {
  // A dozen packets a frame, so that some frames come through at every ratio.
  camera->setRegister(reg::width, 128);
  camera->setRegister(reg::height, 128);
  repeatWithoutGrowth(rounds(3, 9), [&](int round) {
    const double ratio = std::array{0.2, 0.01, 0.05}[static_cast<std::size_t>(round % 3)];
    connectAndReceive();
    logger.take();
    camera->losePackets(ratio);
    const int delivered = receive(*adapter, memory, info, 200, rounds(100, 1000));
    const auto recycled = std::ranges::count_if(
        logger.take(), [](const std::string& record) { return record.find("recycling") != record.npos; });
    std::cout << "  " << ratio * 100 << " %: " << delivered << " delivered, " << recycled << " recycled\n";
    EXPECT_GT(recycled, 0);
    camera->losePackets(0.0);
    // The frames that lost packets before are still on their way; then not one is missing.
    receive(*adapter, memory, info, 30);
    const std::uint64_t first = info.frameId;
    EXPECT_EQ(receive(*adapter, memory, info, 50, 60), 50);
    EXPECT_EQ(info.frameId, (first + 50 - 1) % 65535 + 1);  // block ids of 16 bits, never 0
    adapter->StopAcquisition();
    adapter->Disconnect();
  });
}

TEST_F(CameraFaults, LostPacketsAreSentAgain) {
  vireo::simulator::GigeOptions options;
  options.firstBlock = 65450;  // of 16 bits: they wrap
  options.resendMemory = 2 << 20;
  plugIn(options);
  // A frame of 46 packets fits into a socket's buffer: nothing is lost but by script.
  camera->setRegister(reg::width, 256);
  camera->setRegister(reg::height, 256);
  connectAndReceive();
  for (const char* const script : {"packet 1% lost", "packet 5% lost; packet 5% duplicate",
                                   "packet 20% lost; packet 5% reordered; packet 5% late 3"}) {
    SCOPED_TRACE(script);
    camera->script(script);
    const std::uint64_t resent = camera->wire().PacketsResent();
    const std::uint64_t first = info.frameId;
    EXPECT_EQ(receive(*adapter, memory, info, 50, 70), 50);
    EXPECT_EQ(info.frameId, (first + 50 - 1) % 65535 + 1);
    EXPECT_GT(camera->wire().PacketsResent(), resent);
  }
}

TEST_F(CameraFaults, NoFrameIsLargerThanItsBuffer) {
  connectAndReceive();
  camera->script("packet 1% oversized");
  const auto payload = static_cast<std::uint64_t>(adapter->Read("PayloadSize").GetValue<int>());
  for (int i = 0; i < 20; ++i) {
    const bool got = receive(*adapter, memory, info, 1, 1) == 1;
    EXPECT_TRUE(!got || info.size <= payload) << info.size;
  }
}

TEST_F(CameraFaults, EveryAnswerComesLate) {
  // Everything in between is thousands of commands, each 400 ms late.
  adapter->Connect();
  adapter->StartAcquisition({});
  camera->script("command 1- late 400");
  adapter->Write(makeParameter("ExposureTime", 5000.0));
  EXPECT_EQ(adapter->Read("ExposureTime").GetValue<float>(), 5000.0F);
  EXPECT_EQ(receive(*adapter, memory, info, 3), 3);
  took("StopAcquisition", [&] { adapter->StopAcquisition(); });
  camera->script("command 1 pending 3500; command 2- pending 700");  // more than the heartbeat allows
  adapter->Write(makeParameter("ExposureTime", 6000.0));
  EXPECT_EQ(adapter->Read("ExposureTime").GetValue<float>(), 6000.0F);
  EXPECT_TRUE(adapter->CheckConnection().ok);
}

constexpr std::uint32_t mono8 = ARV_PIXEL_FORMAT_MONO_8;
constexpr struct {
  const char* change;
  std::uint64_t where;
  std::uint32_t value;
  std::uint32_t before;
} changes[] = {
    {"larger than the host's memory", reg::height, 2048, 512},
    {"smaller", reg::width, 64, 512},
    {"larger", reg::width, 640, 512},
    {"two bytes a pixel", reg::pixelFormat, ARV_PIXEL_FORMAT_MONO_16, mono8},
    {"three bytes a pixel", reg::pixelFormat, ARV_PIXEL_FORMAT_RGB_8_PACKED, mono8},
};

TEST_F(CameraFaults, SettingsChangedByAnotherClient) {
  constexpr std::size_t spanSize = 640 * 512;
  const auto receiveGuarded = [&] {
    std::vector<std::uint8_t> guarded(spanSize + 4096, 0xEE);
    const int got = receive(*adapter, std::span(guarded).first(spanSize), info, 20, 20);
    EXPECT_EQ(std::count(guarded.begin() + spanSize, guarded.end(), 0xEE), 4096);
    return got;
  };
  repeatWithoutGrowth(std::ssize(changes) * 2, [&](int round) {
    const auto& row = changes[(round - 1) / 2];
    const bool during = round % 2 == 1;
    SCOPED_TRACE(row.change);
    connectAndReceive();
    if (!during) adapter->StopAcquisition();
    camera->setRegister(row.where, row.value);
    if (during) receiveGuarded();
    adapter->StopAcquisition();
    // A new start takes the new size; a frame is refused only where the host's memory is too small.
    adapter->StartAcquisition({});
    const auto expected = static_cast<std::uint64_t>(adapter->Read("PayloadSize").GetValue<int>());
    logger.take();
    const int got = receiveGuarded();
    if (expected > spanSize) {
      EXPECT_EQ(got, 0);
      EXPECT_THAT(logger.take(), Contains(StartsWith("ReceiveFrame|40|GenICamAdapter: frame too large")));
    } else {
      EXPECT_GT(got, 0);
      EXPECT_EQ(info.size, expected);
    }
    adapter->Disconnect();
    camera->setRegister(row.where, row.before);
  });
}

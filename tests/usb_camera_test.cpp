// SPDX-License-Identifier: MIT
// USB3 Vision: the adapter, the library's asynchronous mode and the commands of vireo-cam on a simulated
// camera that stands in for libusb.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

#include "simulator/usb/usb_bus.h"
#include "support/program.h"
#include "support/receive_loop.h"
#include "support/recording_logger.h"
#include "support/rounds.h"
#include "support/simulated_camera.h"
#include "support/usb_environment.h"

using namespace testing;
using namespace vireo::simulator;

namespace {

constexpr const char* guid = "FEED00000001";

class UsbCamera : public Test {
 protected:
  UsbCamera() { plugIn(); }
  ~UsbCamera() override { UnplugUsbCamera(); }

  static void plugIn(const char* faults = "") {
    PlugUsbCameraIn(VIREO_SIMULATED_CAMERA, faults);
    arv_disable_interface("GigEVision");
    arv_disable_interface("Fake");
    arv_enable_interface("USB3Vision");
  }
  void connectAndReceive() {
    plugIn();
    adapter.Connect();
    adapter.Write({makeParameter("AcquisitionFrameRate", 200.0), makeParameter("ExposureTime", 1000.0),
                   makeParameter("Width", 64), makeParameter("Height", 64)});
    adapter.StartAcquisition({});
    ASSERT_EQ(receive(adapter, memory, info, 3), 3);
  }

  RecordingLogger logger;
  OpenAdapter adapter{guid, 1.0};
  std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(1 << 20);
  vireo::common::FrameInfo info;
};

TEST_F(UsbCamera, IsACameraLikeAnyOther) {
  connectAndReceive();
  EXPECT_EQ(adapter.Read("DeviceModelName").GetValue<std::string>(), "SimulatedCamera");
  EXPECT_FALSE(adapter.Scan().empty());
  EXPECT_TRUE(adapter.CheckConnection().ok);
  const std::uint64_t first = info.frameId;
  EXPECT_EQ(receive(adapter, memory, info, 50), 50);
  EXPECT_EQ(info.frameId, first + 50);
  EXPECT_EQ(info.size, 64u * 64u);
  // The second pixel of the second row, at a tenth of the brightness.
  EXPECT_EQ(memory[65], (2 + info.frameId) % 256 / 10);
  adapter.StopAcquisition();
  adapter.Write({makeParameter("PixelFormat", "RGB8"), makeParameter("Width", 128)});
  adapter.StartAcquisition(4);
  EXPECT_EQ(receive(adapter, memory, info, 5, 10), 4);
  EXPECT_EQ(info.size, 3u * 128u * 64u);
  EXPECT_EQ(stateOf(adapter), "connected stopped");
}

TEST_F(UsbCamera, DeliversWhatItsFaultsLeave) {
  // A frame is three transfers: leader, image, trailer.
  const struct {
    const char* faults;
    std::vector<std::uint64_t> ids;  // of the first frames that come
    std::ptrdiff_t recycled;
  } rows[] = {
      {"", {0, 1, 2, 3}, 0},
      {"packet 4 lost", {0, 2, 3, 4}, 0},  // the leader: the frame is never begun
      {"packet 5 lost", {0, 2, 3, 4}, 1},  // the image
      {"packet 5 short", {0, 2, 3, 4}, 1},
      {"packet 6 lost", {0, 1, 3, 4}, 0},  // the trailer: the next frame's one ends it
      {"packet 5 late 50; packet 8 oversized; packet 9 status 0xa101", {0, 1, 2, 3}, 0},
      {"packet 4 wrong-id", {0, 0x54, 2, 3}, 0},
      {"packet 4 garbage", {0, 2, 3, 4}, 0},    // not a leader any more
      {"packet 5 mutated 9", {0, 1, 2, 3}, 0},  // nothing tells that the image is another one
      {"command 1- pending 20", {0, 1, 2, 3}, 0},
  };
  connectAndReceive();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.faults);
    adapter.StopAcquisition();
    SetUsbCameraFaults(row.faults);
    adapter.StartAcquisition({});
    logger.take();
    std::vector<std::uint64_t> ids;
    while (ids.size() < 4 && receive(adapter, memory, info, 1) == 1) ids.push_back(info.frameId);
    EXPECT_EQ(ids, row.ids);
    const auto isRecycled = [](const std::string& record) { return record.find("recycling") != record.npos; };
    EXPECT_EQ(std::ranges::count_if(logger.take(), isRecycled), row.recycled);
  }
}

TEST_F(UsbCamera, AnswersCommandsAsTheFaultsSay) {
  adapter.Connect();
  const std::tuple<const char*, bool> rows[] = {
      {"command 1 lost", true},     {"command 1 late 100", true},       {"command 1-3 pending 300", true},
      {"command 1 wrong-id", true}, {"command 1 duplicate", true},      {"command 1 oversized", true},
      {"command 1 garbage", true},  {"command 1 status 0x8007", false}, {"command 1- lost", false},
  };
  for (const auto& [faults, succeeds] : rows) {
    SCOPED_TRACE(faults);
    SetUsbCameraFaults(faults);
    const std::string error = errorOf([&] { adapter.Read("ExposureTime"); });
    EXPECT_EQ(error == "nothing thrown", succeeds) << error;
    SetUsbCameraFaults("");
    EXPECT_EQ(adapter.Read("ExposureTime").GetValue<float>(), 10000.0F);
  }
}

TEST_F(UsbCamera, UnpluggedWhileAcquiring) {
  repeatWithoutGrowth(rounds(4, 20), [&](int round) {
    connectAndReceive();
    logger.take();
    if (round % 2 == 0) {
      SetUsbCameraFaults("packet 5 disconnect");
    } else {
      UnplugUsbCamera();
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (logger.count("GenICamAdapter: camera control lost") == 0 && std::chrono::steady_clock::now() < end)
      receive(adapter, memory, info, 1, 1);
    EXPECT_THAT(adapter.CheckConnection().messages, ElementsAre("Camera control lost (signal received)"));
    EXPECT_ANY_THROW(adapter.Read("Width"));
    EXPECT_ANY_THROW(adapter.StartAcquisition({}));
    adapter.StopAcquisition();
    adapter.Disconnect();
  });
  EXPECT_THAT(errorOf([&] { adapter.Connect(); }), StartsWith("GenICamAdapter: connection timeout"));
}

// Making a stream, the library divides by what it read of the camera, and would end the process.
TEST_F(UsbCamera, ThatCannotSayItsPayloadIsNotStarted) {
  for (const char* const faults : {"command 1- status 0x8007", "command 1 disconnect"}) {
    SCOPED_TRACE(faults);
    plugIn();
    adapter.Connect();
    SetUsbCameraFaults(faults);
    EXPECT_THAT(errorOf([&] { adapter.StartAcquisition({}); }), Not("nothing thrown"));
    EXPECT_EQ(adapter.GetAcquisitionState().mode, vireo::common::AcquisitionMode::Stopped);
    SetUsbCameraFaults("");
    adapter.Disconnect();
  }
  connectAndReceive();
}

TEST_F(UsbCamera, StreamsInTheLibrarysAsynchronousModeToo) {
  const vireo::genicam::GObjectGuard<ArvDevice> device(arv_open_device(guid, nullptr));
  ASSERT_TRUE(ARV_IS_UV_DEVICE(device.get()));
  arv_uv_device_set_usb_mode(ARV_UV_DEVICE(device.get()), ARV_UV_USB_MODE_ASYNC);
  for (int round = 0; round < 3; ++round) {
    const vireo::genicam::GObjectGuard<ArvStream> stream(
        arv_device_create_stream(device.get(), nullptr, nullptr, nullptr));
    // As many as frames: in this mode the library can lose a buffer that comes back at once.
    for (int i = 0; i < 10; ++i) arv_stream_push_buffer(stream.get(), arv_buffer_new(512 * 512, nullptr));
    arv_device_execute_command(device.get(), "AcquisitionStart", nullptr);
    for (int i = 0; i < 10; ++i) {
      const vireo::genicam::GObjectGuard<ArvBuffer> buffer(
          arv_stream_timeout_pop_buffer(stream.get(), 1000000));
      ASSERT_TRUE(buffer);
      EXPECT_EQ(arv_buffer_get_status(buffer.get()), ARV_BUFFER_STATUS_SUCCESS);
    }
    if (round == 2) UnplugUsbCamera();
    arv_device_execute_command(device.get(), "AcquisitionStop", nullptr);
  }
}

struct VireoCamOnUsb : Test {
  std::string path(const char* name) const { return "'" + (directory / name).string() + "'"; }

  TemporaryDirectory directory;
};

TEST_F(VireoCamOnUsb, RunsEveryCommand) {
  const std::tuple<std::string, int, const char*> rows[] = {
      {"cameras", 0, "Vireo-FEED00000001-USB01"},
      {"info", 0, "Link                  good"},
      {"list Exposure*", 0, "ExposureTime"},
      {"get Width", 0, "Width=512"},
      {"set Width=64 Height=64 DeviceUserID=here", 0, "DeviceUserID=here"},
      {"run TriggerSoftware", 0, "executed"},
      {"xml", 0, "<RegisterDescription"},
      {"grab -n 5 -o " + path("frames"), 0, "5 frames in"},
      {"watch --seconds 0.5", 0, "Bad frames    none"},
      {"bench --seconds 0.5", 0, "Lost frames   none"},
      {"save " + path("s.json"), 0, "settings saved"},
      {"load " + path("s.json"), 0, "as in the file"},
      {"diff --json " + path("s.json"), 0, "[]"},
  };
  for (const auto& [command, status, text] : rows) {
    const auto result = run("--address FEED00000001 " + command, usbCameraEnvironment);
    EXPECT_EQ(result.status, status) << command << result.err;
    EXPECT_THAT(result.out, HasSubstr(text)) << command;
  }
}

TEST_F(VireoCamOnUsb, EndsWithStatus4WhenTheCameraGoesWhileItIsAsked) {
  const std::pair<std::string, int> leaving[] = {
      {"list Width", 100}, {"get Width", 100}, {"save " + path("no.json"), 150}};
  for (const auto& [command, last] : leaving) {
    const auto gone =
        run("--timeout 1 --address FEED00000001 " + command,
            "VIREO_USB_FAULTS='command " + std::to_string(last) + " disconnect' " + usbCameraEnvironment);
    EXPECT_EQ(gone.status, 4) << command << gone.err;
    EXPECT_EQ(gone.out, "");
  }
  EXPECT_FALSE(std::filesystem::exists(directory / "no.json"));
  const auto lost = run("--address FEED00000001 watch --patience 0",
                        "VIREO_USB_FAULTS='packet 30 disconnect' " + usbCameraEnvironment);
  EXPECT_EQ(lost.status, 4) << lost.err;
}

}  // namespace

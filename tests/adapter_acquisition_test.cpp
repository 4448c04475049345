// SPDX-License-Identifier: MIT
// Starting, receiving and stopping, on the in-process camera.
#include <gmock/gmock.h>

#include <numeric>

#include "support/aravis_script.h"
#include "support/recording_logger.h"
#include "support/simulated_camera.h"

using namespace testing;
using vireo::common::DataType;
using vireo::common::FrameInfo;

namespace {

class Acquisition : public Test {
 protected:
  void SetUp() override {
    // A size of its own, so that no case depends on what another left in the shared camera.
    adapter.Connect();
    adapter.Write({makeParameter("Width", 64), makeParameter("Height", 64),
                   makeParameter("PixelFormat", std::string("Mono8")),
                   makeParameter("AcquisitionFrameRate", 200.0)});
    logger.take();
    script.takeCalls();
  }
  std::string startError(std::optional<long> frames = {}) {
    return errorOf([&] { adapter.StartAcquisition(frames); });
  }
  int receive(int frames, int attempts = 50) { return ::receive(adapter, memory, info, frames, attempts); }
  std::string state() const { return stateOf(adapter); }

  RecordingLogger logger;
  AravisScript script;
  CountingAdapter adapter;
  std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(1 << 20, 0xEE);
  FrameInfo info;
};

const std::string stopped = "StopAcquisition|20|GenICamAdapter: acquisition stopped";

}  // namespace

TEST_F(Acquisition, StartsQueuesAndStopsInOrder) {
  // The stream is not lent before the start is through with it: a receive would hold it up.
  logger.onRecord = [&](const std::string&) { receive(1, 1); };
  adapter.StartAcquisition({});
  logger.onRecord = nullptr;
  EXPECT_EQ(script.count("pop 100000"), 0u);
  EXPECT_THAT(logger.take(),
              ElementsAre("createStream|20|GenICamAdapter: stream created",
                          "StartAcquisition|20|GenICamAdapter: starting continuous acquisition",
                          "pushBuffers|10|GenICamAdapter: pushed 10 buffers (4096 bytes each)"));
  EXPECT_EQ(state(), "connected continuous active");
  EXPECT_EQ(script.count("push_buffer"), 10u);
  const auto calls = script.takeCalls();
  EXPECT_EQ(calls.back(), "execute AcquisitionStart");
  EXPECT_EQ(*std::find(calls.rbegin(), calls.rend(), "get_integer PayloadSize").base(), "create_stream");

  EXPECT_EQ(receive(2), 2);
  EXPECT_GT(adapter.lastFrameTime, 0u);
  adapter.StopAcquisition();
  adapter.StopAcquisition();
  EXPECT_THAT(logger.take(), ElementsAre(stopped, stopped));
  EXPECT_EQ(script.count("execute AcquisitionStop"), 2u);
  EXPECT_EQ(state(), "connected stopped");
  EXPECT_GT(adapter.acquisitionStopTime, adapter.lastFrameTime);
  EXPECT_GT(adapter.GetAcquisitionState().frameRate, 0.0);
  EXPECT_EQ(receive(1, 1), 0);
}

TEST_F(Acquisition, DeliversTheFrameAndNothingElse) {
  adapter.Write(makeParameter("ExposureTime", 2500.0));
  adapter.StartAcquisition({});
  info.offsetX = info.offsetY = -1;
  ASSERT_EQ(receive(1), 1);
  EXPECT_THAT((std::vector{info.width, info.height, info.offsetX, info.offsetY}), ElementsAre(64, 64, 0, 0));
  EXPECT_EQ(std::tuple(info.size, info.exposureTime), std::tuple(4096u, 2500.0));
  EXPECT_GT(info.timestamp, 0u);
  EXPECT_NE(std::accumulate(memory.begin(), memory.begin() + 4096, 0L), 4096L * 0xEE);
  EXPECT_EQ(memory[4096], 0xEE);
  const std::uint64_t first = info.frameId;
  ASSERT_EQ(receive(1), 1);
  EXPECT_EQ(info.frameId, first + 1);
}

TEST_F(Acquisition, NamesTheElementTypeByTheBitsOfThePixelFormat) {
  adapter.StartAcquisition({});
  for (const auto& [code, type] : {std::pair(0x01080001, DataType::Byte),
                                   {0x01100007, DataType::UInt16},
                                   {0x010C0006, DataType::Byte},
                                   {0x02200016, DataType::UInt32}}) {
    script.answer("pixel_format", code);
    ASSERT_EQ(receive(1), 1);
    EXPECT_EQ(info.dataType, type) << std::hex << code;
  }
}

TEST_F(Acquisition, EndsAFiniteRunWithItsLastFrame) {
  adapter.StartAcquisition(3);
  EXPECT_EQ(state(), "connected finite 3 active");
  EXPECT_EQ(receive(2), 2);
  EXPECT_EQ(state(), "connected finite 1 active");
  logger.take();
  EXPECT_EQ(receive(1), 1);
  EXPECT_THAT(logger.take(),
              ElementsAre("ReceiveFrame|20|GenICamAdapter: finite acquisition complete (3 frames)", stopped));
  EXPECT_EQ(adapter.stops, 1);  // a host's own stop too
  EXPECT_EQ(state(), "connected stopped");
  EXPECT_EQ(receive(1, 1), 0);
  adapter.Disconnect();
  EXPECT_EQ(adapter.stops, 1);
  adapter.Connect();
  for (const long frames : {0L, -5L}) {
    adapter.StartAcquisition(frames);
    EXPECT_EQ(state(), "connected continuous active");
  }
}

TEST_F(Acquisition, GoesOnDeliveringWhileTheStopCommandIsUnderWay) {
  adapter.StartAcquisition({});
  ASSERT_EQ(receive(1), 1);
  int during = 0;
  script.during("execute AcquisitionStop", [&] { during = receive(2); });
  adapter.StopAcquisition();
  EXPECT_EQ(during, 2);
  EXPECT_EQ(state(), "connected stopped");
}

TEST_F(Acquisition, GivesEveryBufferBackOnce) {
  adapter.StartAcquisition({});
  EXPECT_EQ(receive(1), 1);
  script.fail("pop 100000");  // microseconds
  EXPECT_EQ(receive(1, 1), 0);
  script.takeCalls();
  logger.take();
  script.answer("status", ARV_BUFFER_STATUS_MISSING_PACKETS);
  EXPECT_EQ(receive(1, 25), 0);
  EXPECT_EQ(logger.count("GenICamAdapter: buffer status=3, recycling"), 25u);
  script.answer("status", ARV_BUFFER_STATUS_SUCCESS);
  script.fail("data", "", 25);
  EXPECT_EQ(receive(1, 25), 0);
  EXPECT_EQ(logger.count("GenICamAdapter: buffer status=0, recycling"), 25u);

  logger.take();
  std::vector<std::uint8_t> small(4095, 0xEE);
  EXPECT_EQ(::receive(adapter, small, info, 1, 25), 0);
  EXPECT_EQ(logger.take().front(), "ReceiveFrame|40|GenICamAdapter: frame too large (4096 > 4095)");
  EXPECT_EQ(small, std::vector<std::uint8_t>(4095, 0xEE));
  EXPECT_EQ(script.count("push_buffer"), 75u);
  EXPECT_EQ(receive(5), 5);
}

TEST_F(Acquisition, RestartsOnTheSameStreamUntilThePayloadChanges) {
  adapter.StartAcquisition(100);
  receive(3);
  adapter.StartAcquisition(7);
  EXPECT_EQ(state(), "connected finite 7 active");
  EXPECT_EQ(script.count("create_stream"), 1u);
  EXPECT_EQ(script.count("execute AcquisitionStart"), 2u);
  adapter.Write(makeParameter("Width", 128));
  logger.take();
  adapter.StartAcquisition({});
  EXPECT_EQ(logger.take().front(),
            "StartAcquisition|20|GenICamAdapter: payload changed to 8192 bytes, recreating stream");
  EXPECT_EQ(script.count("create_stream"), 2u);
  EXPECT_EQ(receive(1), 1);
  EXPECT_EQ(info.size, 8192u);
}

TEST_F(Acquisition, IgnoresAPayloadThatIsNoSizeAndRefusesOneThatCannotBeHeld) {
  for (const double noSize : {-1.0, 0.0}) {
    script.answer("get_integer PayloadSize", noSize);
    adapter.StartAcquisition({});
    EXPECT_EQ(receive(1), 1);
    EXPECT_EQ(logger.count("GenICamAdapter: pushed 10 buffers (262144 bytes each)"), 1u);
    logger.take();
    adapter.StopAcquisition();
  }
  adapter.StartAcquisition({});
  script.answer("get_integer PayloadSize", 4e18);
  EXPECT_EQ(startError(5),
            "GenICamAdapter: no memory for a frame buffer of 4000000000000000000 bytes; check the camera's "
            "PayloadSize");
  EXPECT_EQ(state(), "connected continuous active");
  EXPECT_EQ(receive(1), 1);
}

TEST_F(Acquisition, LeavesARejectedStartForStopToClear) {
  script.fail("create_stream", "");
  EXPECT_EQ(startError(), "GenICamAdapter: failed to create stream");
  script.streamDespiteError = true;
  script.fail("create_stream");
  EXPECT_EQ(startError(), "Create stream: scripted");
  EXPECT_EQ(receive(1, 1), 0);
  EXPECT_EQ(script.count("pop 100000"), 1u);
  EXPECT_EQ(state(), "connected stopped");

  script.fail("execute AcquisitionStart", "not now");
  EXPECT_NE(startError(5), "nothing thrown");
  EXPECT_EQ(state(), "connected finite 5");
  EXPECT_EQ(startError(), "nothing thrown");
  EXPECT_EQ(script.count("create_stream"), 2u);
  EXPECT_EQ(receive(1), 1);
}

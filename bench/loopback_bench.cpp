// SPDX-License-Identifier: MIT
// Receiving over GVSP on loopback at the highest rate that the simulated camera sends: the adapter against a
// bare Aravis receiver. The camera is a process of its own, so the processor time is the receiver's alone,
// and has its own core. One iteration receives for one second.
#include <arv.h>
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "brio/fnd/log.h"
#include "cores.h"
#include "vireo/genicam/adapter.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr const char* address = "127.0.0.1";
constexpr unsigned width = 512;
constexpr unsigned height = 512;
constexpr unsigned framePeriodMicroseconds = 500;

class Quiet final : public brio::fnd::Logger {
 public:
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
};

/// Runs the camera in a child process until the end; forked before anything starts a thread.
pid_t startCamera() {
  int ready[2];
  if (pipe(ready) != 0) std::abort();
  const pid_t child = fork();
  if (child != 0) {
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) std::abort();
    return child;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  stayOnCore(1);
  ArvGvFakeCamera* const camera = arv_gv_fake_camera_new_full(address, "bench", VIREO_SIMULATED_CAMERA);
  if (!arv_gv_fake_camera_is_running(camera)) std::abort();
  ArvFakeCamera* const sensor = arv_gv_fake_camera_get_fake_camera(camera);
  arv_fake_camera_write_register(sensor, ARV_FAKE_CAMERA_REGISTER_WIDTH, width);
  arv_fake_camera_write_register(sensor, ARV_FAKE_CAMERA_REGISTER_HEIGHT, height);
  arv_fake_camera_write_register(sensor, ARV_FAKE_CAMERA_REGISTER_ACQUISITION_FRAME_PERIOD_US,
                                 framePeriodMicroseconds);
  if (write(ready[1], "r", 1) != 1) std::abort();
  for (;;) pause();
}

double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Counts what one second of receiving brings; `receive` returns a frame id, or zero when none came.
template <typename Receive>
void receiveForASecond(benchmark::State& state, Receive&& receive) {
  while (receive() == 0) {
  }
  for (auto _ : state) {
    std::uint64_t frames = 0;
    std::uint64_t lost = 0;
    std::uint64_t last = receive();
    const double processor = processorSeconds();
    const auto start = Clock::now();
    while (Clock::now() - start < std::chrono::seconds(1)) {
      const std::uint64_t id = receive();
      if (id == 0) continue;
      if (last != 0 && id > last + 1) lost += id - last - 1;
      last = id;
      ++frames;
    }
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(elapsed);
    state.counters["frames_per_second"] = static_cast<double>(frames) / elapsed;
    state.counters["lost"] = static_cast<double>(lost);
    state.counters["processor_us_per_frame"] =
        1e6 * (processorSeconds() - processor) / static_cast<double>(frames);
  }
}

void adapterReceives(benchmark::State& state) {
  Quiet logger;
  brio::fnd::SetLogger(&logger);
  vireo::genicam::GenICamAdapter adapter;
  adapter.Initialise({address, 5.0});
  adapter.Connect();
  adapter.StartAcquisition({});
  std::vector<std::uint8_t> memory(width * height);
  std::span<std::uint8_t> span(memory);
  vireo::common::FrameInfo info;
  receiveForASecond(state, [&]() -> std::uint64_t {
    bool received = false;
    adapter.ReceiveFrame(received, 0, span, info);
    return received ? info.frameId : 0;
  });
  adapter.Disconnect();
  brio::fnd::SetLogger(nullptr);
}

void bareReceives(benchmark::State& state) {
  ArvDevice* const device = arv_open_device(address, nullptr);
  ArvStream* const stream = arv_device_create_stream(device, nullptr, nullptr, nullptr);
  std::vector<std::uint8_t> memory(width * height);
  for (int i = 0; i < 10; ++i) arv_stream_push_buffer(stream, arv_buffer_new(memory.size(), nullptr));
  arv_device_execute_command(device, "AcquisitionStart", nullptr);
  receiveForASecond(state, [&]() -> std::uint64_t {
    ArvBuffer* const buffer = arv_stream_timeout_pop_buffer(stream, 100000);
    if (buffer == nullptr) return 0;
    std::uint64_t id = 0;
    if (arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS) {
      std::size_t size = 0;
      const void* const data = arv_buffer_get_data(buffer, &size);
      std::memcpy(memory.data(), data, size);
      id = arv_buffer_get_frame_id(buffer);
    }
    arv_stream_push_buffer(stream, buffer);
    return id;
  });
  arv_device_execute_command(device, "AcquisitionStop", nullptr);
  g_object_unref(stream);
  g_object_unref(device);
}

BENCHMARK(adapterReceives)->Name("receive over loopback 512x512/ours")->UseManualTime()->Iterations(1);
BENCHMARK(bareReceives)->Name("receive over loopback 512x512/yardstick")->UseManualTime()->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
  const pid_t camera = startCamera();
  stayOnCore(0);
  arv_disable_interface("USB3Vision");
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  kill(camera, SIGTERM);
  waitpid(camera, nullptr, 0);
}

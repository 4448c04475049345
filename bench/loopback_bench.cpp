// SPDX-License-Identifier: MIT
// Receiving over GVSP on loopback: the adapter against a bare Aravis receiver, at the highest rate that the
// latter takes without losing a frame; and how many packets of 1,500 bytes the simulated camera sends a
// second. The camera is a process of its own, so the processor time is the receiver's alone, and has its own
// core. One iteration takes one second.
#include <arv.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "brio/fnd/log.h"
#include "cores.h"
#include "simulator/gige/gige_camera.h"
#include "simulator/model/registers.h"
#include "vireo/genicam/adapter.h"

namespace {

namespace simulator = vireo::simulator;
using simulator::Clock;
constexpr const char* address = "127.0.0.1";
constexpr unsigned width = 512;
constexpr unsigned height = 512;
constexpr double slowestRate = 100.0;  // frames a second

class Quiet final : public brio::fnd::Logger {
 public:
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
};

// A camera in a child process, forked before anything starts a thread, until the object ends. Its link is as
// fast as its core.
class CameraProcess {
 public:
  CameraProcess() {
    if (pipe(ready_) != 0 || pipe(rates_) != 0) std::abort();
    child_ = fork();
    if (child_ == 0) serve();
    waitUntilReady();
  }
  ~CameraProcess() {
    kill(child_, SIGTERM);
    waitpid(child_, nullptr, 0);
  }
  CameraProcess(const CameraProcess&) = delete;
  CameraProcess& operator=(const CameraProcess&) = delete;

  // Frames a second from now on.
  void SetRate(double rate) {
    const auto period = static_cast<std::uint32_t>(1e6 / rate);
    if (write(rates_[1], &period, sizeof period) != sizeof period) std::abort();
    waitUntilReady();
  }

 private:
  void waitUntilReady() {
    char byte = 0;
    if (read(ready_[0], &byte, 1) != 1) std::abort();
  }
  [[noreturn]] void serve() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    stayOnCore(1);
    simulator::CameraModel model(simulator::ReadDescription(VIREO_SIMULATED_CAMERA, true), {});
    simulator::GigeOptions options;
    options.bitsPerSecond = 0;
    const simulator::GigeCamera camera(model, options);
    model.SetRegister(simulator::reg::exposureTime, 10);
    for (std::uint32_t period = 40000; write(ready_[1], "r", 1) == 1;) {
      if (read(rates_[0], &period, sizeof period) != sizeof period) break;
      model.SetRegister(simulator::reg::framePeriod, period);
    }
    std::abort();
  }

  int ready_[2];
  int rates_[2];
  pid_t child_;
};

double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Counts what one second of receiving brings; `receive` returns a frame id, or zero when none came.
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

// Frames of the camera as Aravis alone receives them, copied once as the adapter does.
class BareReceiver {
 public:
  BareReceiver() {
    for (int i = 0; i < 10; ++i) arv_stream_push_buffer(stream_, arv_buffer_new(memory_.size(), nullptr));
    arv_device_execute_command(device_, "AcquisitionStart", nullptr);
  }
  ~BareReceiver() {
    arv_device_execute_command(device_, "AcquisitionStop", nullptr);
    g_object_unref(stream_);
    g_object_unref(device_);
  }
  BareReceiver(const BareReceiver&) = delete;
  BareReceiver& operator=(const BareReceiver&) = delete;

  // The id of the next frame, or 0 when none came or it came incomplete.
  std::uint64_t Receive() {
    ArvBuffer* const buffer = arv_stream_timeout_pop_buffer(stream_, 100000);
    if (buffer == nullptr) return 0;
    std::uint64_t id = 0;
    if (arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS) {
      std::size_t size = 0;
      const void* const data = arv_buffer_get_data(buffer, &size);
      std::memcpy(memory_.data(), data, size);
      id = arv_buffer_get_frame_id(buffer);
    }
    arv_stream_push_buffer(stream_, buffer);
    return id;
  }

 private:
  ArvDevice* device_ = arv_open_device(address, nullptr);
  ArvStream* stream_ = arv_device_create_stream(device_, nullptr, nullptr, nullptr);
  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(width * height);
};

void bareReceives(benchmark::State& state) {
  BareReceiver receiver;
  receiveForASecond(state, [&] { return receiver.Receive(); });
}

// Whether every frame of one second arrives, and as many as the rate says.
bool allArrive(double rate) {
  BareReceiver receiver;
  std::uint64_t last = 0;
  while (last == 0) last = receiver.Receive();
  double frames = 0;
  for (const auto end = Clock::now() + std::chrono::seconds(1); Clock::now() < end; ++frames) {
    const std::uint64_t id = receiver.Receive();
    if (id != last % 65535 + 1) return false;
    last = id;
  }
  return frames > 0.97 * rate;
}

double highestRate(CameraProcess& camera) {
  double rate = slowestRate;
  for (double next = rate; camera.SetRate(next), allArrive(next); next *= 1.2) rate = next;
  return rate;
}

// Nobody receives: the kernel throws the packets away when the socket's buffer is full.
void cameraSends(benchmark::State& state) {
  const int sink = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof place;
  if (bind(sink, reinterpret_cast<const sockaddr*>(&place), size) != 0) std::abort();
  getsockname(sink, reinterpret_cast<sockaddr*>(&place), &size);
  stayOnCore(1);
  const std::atomic<bool> stop{false};
  simulator::PacketSender sender(
      sink, [] { return simulator::Fault(); }, [] {});
  const simulator::PacketRoute route{{INADDR_LOOPBACK, ntohs(place.sin_port)}, 0, 0, {}};
  const simulator::Frame frame{{{width, height, 0, 0, 0x01080001, 1.0}, 0}, simulator::Bytes(width * height)};
  const simulator::GvspPackets packets(frame, 1, 1500, false);
  for (auto _ : state) {
    const std::uint64_t before = sender.Sent();
    const auto start = Clock::now();
    while (Clock::now() - start < std::chrono::seconds(1))
      sender.Send(packets, 0, packets.Count() - 1, route, stop);
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(elapsed);
    state.counters["packets_per_second"] = static_cast<double>(sender.Sent() - before) / elapsed;
  }
  stayOnCore(0);
  close(sink);
}

BENCHMARK(adapterReceives)->Name("receive over loopback 512x512/ours")->UseManualTime()->Iterations(1);
BENCHMARK(bareReceives)->Name("receive over loopback 512x512/yardstick")->UseManualTime()->Iterations(1);
BENCHMARK(cameraSends)->Name("send packets of 1,500 bytes over loopback")->UseManualTime()->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
  CameraProcess camera;
  stayOnCore(0);
  arv_disable_interface("USB3Vision");
  benchmark::Initialize(&argc, argv);
  camera.SetRate(highestRate(camera));
  benchmark::RunSpecifiedBenchmarks();
}

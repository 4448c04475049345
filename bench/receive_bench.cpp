// SPDX-License-Identifier: MIT
// Receiving a frame, from memory to memory: the adapter against the bare calls on the same buffers.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "brio/fnd/log.h"
#include "memory_frames.h"
#include "vireo/genicam/adapter.h"

namespace {

std::atomic<std::uint64_t> allocations{0};

class Quiet final : public brio::fnd::Logger {
 public:
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
};

struct Size {
  unsigned width, height;
};
constexpr Size sizes[] = {{64, 64}, {512, 512}, {2048, 2048}, {8192, 5460}};

void setLimit(benchmark::State& state, const Size& size) {
  state.SetBytesProcessed(state.iterations() * size.width * size.height);
}

void adapterReceives(benchmark::State& state, Size size) {
  Quiet logger;
  brio::fnd::SetLogger(&logger);
  vireo::genicam::GenICamAdapter adapter;
  adapter.Initialise({"Fake_1", 1.0});
  adapter.Connect();
  adapter.StartAcquisition({});
  std::vector<std::uint8_t> memory(std::size_t{size.width} * size.height);
  std::span<std::uint8_t> span(memory);
  vireo::common::FrameInfo info;
  {
    const MemoryFrames frames(size.width, size.height);
    std::uint64_t lost = 0;
    const std::uint64_t before = allocations;
    for (auto _ : state) {
      bool received = false;
      adapter.ReceiveFrame(received, 0, span, info);
      lost += !received;
    }
    state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations - before - lost),
                                                       benchmark::Counter::kAvgIterations);
    if (lost != 0) state.SkipWithError("frames were not delivered");
  }
  setLimit(state, size);
  adapter.Disconnect();
  brio::fnd::SetLogger(nullptr);
}

void bareCalls(benchmark::State& state, Size size) {
  std::vector<std::uint8_t> memory(std::size_t{size.width} * size.height);
  const MemoryFrames frames(size.width, size.height);
  for (auto _ : state) {
    ArvBuffer* const buffer = arv_stream_timeout_pop_buffer(nullptr, 100000);
    std::size_t bytes = 0;
    const void* const data = arv_buffer_get_data(buffer, &bytes);
    std::memcpy(memory.data(), data, bytes);
    arv_stream_push_buffer(nullptr, buffer);
    benchmark::ClobberMemory();
  }
  setLimit(state, size);
}

}  // namespace

void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* const memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

int main(int argc, char** argv) {
  arv_disable_interface("GigEVision");
  arv_disable_interface("USB3Vision");
  arv_enable_interface("Fake");
  arv_set_fake_camera_genicam_filename(VIREO_SIMULATED_CAMERA);
  for (const Size& size : sizes) {
    const std::string name =
        "receive from memory " + std::to_string(size.width) + "x" + std::to_string(size.height);
    benchmark::RegisterBenchmark((name + "/ours").c_str(), adapterReceives, size);
    benchmark::RegisterBenchmark((name + "/yardstick").c_str(), bareCalls, size);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}

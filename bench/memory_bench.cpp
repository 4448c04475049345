// SPDX-License-Identifier: MIT
// The memory that a node map and a receiving adapter hold, and what several adapters in one process cost.
#include <arv.h>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

#include "brio/fnd/log.h"
#include "vireo/genicam/adapter.h"
#include "vireo/genicam/xml_parser.h"

namespace {

using Clock = std::chrono::steady_clock;

class Quiet final : public brio::fnd::Logger {
 public:
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
};

std::string largestDescription() {
  const std::filesystem::path folder(VIREO_CAMERA_DESCRIPTIONS);
  std::filesystem::path largest;
  if (!std::filesystem::is_directory(folder)) return {};
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (largest.empty() || entry.file_size() > std::filesystem::file_size(largest)) largest = entry.path();
  }
  std::ostringstream text;
  text << std::ifstream(largest).rdbuf();
  return text.str();
}

void nodeMapHeld(benchmark::State& state) {
  const std::string text = largestDescription();
  if (text.empty()) return state.SkipWithError("no camera descriptions here");
  for (auto _ : state) {
    const std::size_t before = mallinfo2().uordblks;
    const auto nodes = vireo::genicam::XmlParser::parse(text);
    const auto held = static_cast<double>(mallinfo2().uordblks - before);
    state.counters["held_per_document_byte"] = held / static_cast<double>(text.size());
    state.counters["features"] = static_cast<double>(nodes.size());
  }
}

double residentMegabytes() {
  std::ifstream statm("/proc/self/statm");
  double total = 0;
  double resident = 0;
  statm >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

// A connected, receiving adapter with a thread of its own.
class Receiver {
 public:
  Receiver() : memory_(4u << 20) {
    adapter_.Initialise({"Fake_1", 1.0});
    adapter_.Connect();
    for (const auto& [name, value] : {std::pair{"Width", 1024}, {"Height", 1024}}) {
      vireo::common::Parameter parameter;
      parameter.name = name;
      parameter.value = value;
      adapter_.Write(parameter);
    }
    adapter_.StartAcquisition({});
    thread_ = std::thread([this] { run(); });
  }
  ~Receiver() {
    running_ = false;
    thread_.join();
  }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;
  int frames() const { return frames_; }

 private:
  void run() {
    std::span<std::uint8_t> span(memory_);
    vireo::common::FrameInfo info;
    while (running_) {
      bool received = false;
      adapter_.ReceiveFrame(received, 0, span, info);
      frames_ += received;
    }
  }

  vireo::genicam::GenICamAdapter adapter_;
  std::vector<std::uint8_t> memory_;
  std::atomic<bool> running_{true};
  std::atomic<int> frames_{0};
  std::thread thread_;
};

// Resident memory while receiving, over what ten buffers and the host's own take; frames a second of each.
void adaptersReceive(benchmark::State& state) {
  Quiet logger;
  brio::fnd::SetLogger(&logger);
  for (auto _ : state) {
    malloc_trim(0);
    const double before = residentMegabytes();
    std::vector<std::unique_ptr<Receiver>> receivers;
    for (int i = 0; i < state.range(0); ++i) receivers.push_back(std::make_unique<Receiver>());
    const auto start = Clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(2));
    int frames = 0;
    for (const auto& receiver : receivers) frames += receiver->frames();
    const double adapters = static_cast<double>(state.range(0));
    const double buffers = 10 * 1.048576 + 4.194304;  // ten in the stream, and the host's
    state.counters["megabytes_beyond_buffers"] = (residentMegabytes() - before) / adapters - buffers;
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    state.counters["frames_per_second_each"] = frames / adapters / seconds;
  }
  brio::fnd::SetLogger(nullptr);
}

BENCHMARK(nodeMapHeld)->Name("node map of the largest description")->Iterations(1);
BENCHMARK(adaptersReceive)
    ->Name("adapters receiving at once")
    ->RangeMultiplier(2)
    ->Range(1, 8)
    ->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
  arv_disable_interface("GigEVision");
  arv_disable_interface("USB3Vision");
  arv_enable_interface("Fake");
  arv_set_fake_camera_genicam_filename(VIREO_SIMULATED_CAMERA);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}

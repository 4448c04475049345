// SPDX-License-Identifier: MIT
// What a log site, a trace scope and a composed record cost.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "brio/fnd/record.h"

namespace {

class Discard final : public brio::fnd::Logger {
 public:
  void Record(std::int32_t, const std::string& text) override { Record(text); }
  void Record(const std::string& text) override { benchmark::DoNotOptimize(text.data()); }
};

Discard logger;

void emptyLoop(benchmark::State& state) {
  for (auto _ : state) benchmark::ClobberMemory();
}

void siteBelowThreshold(benchmark::State& state) {
  brio::fnd::SetLogger(&logger);
  for (auto _ : state) {
    BRIO_LOG_DEBUG("GenICamAdapter: wrote '{}' = '{}'", "ExposureTime", 10000.0);
    benchmark::ClobberMemory();
  }
}

void traceScopeOff(benchmark::State& state) {
  brio::fnd::SetLogger(&logger);
  for (auto _ : state) {
    BRIO_TRACE_SCOPE();
    benchmark::ClobberMemory();
  }
}

void recordComposed(benchmark::State& state) {
  brio::fnd::SetLogger(&logger);
  for (auto _ : state) BRIO_LOG_INFO("GenICamAdapter: wrote '{}' = '{}'", "ExposureTime", 10000.0);
}

void sameTextFormatted(benchmark::State& state) {
  for (auto _ : state) {
    logger.Record(20, fmt::format("2026-03-04T05:06:07.{}:{}:{}:{}:{}: GenICamAdapter: wrote '{}' = '{}'",
                                  123457, __FILE__, __LINE__, __func__, "bench", "ExposureTime", 10000.0));
  }
}

BENCHMARK(siteBelowThreshold)->Name("log site below threshold/ours");
BENCHMARK(emptyLoop)->Name("log site below threshold/yardstick");
BENCHMARK(traceScopeOff)->Name("trace scope off/ours");
BENCHMARK(emptyLoop)->Name("trace scope off/yardstick");
BENCHMARK(recordComposed)->Name("record composed/ours");
BENCHMARK(sameTextFormatted)->Name("record composed/yardstick");

}  // namespace

BENCHMARK_MAIN();

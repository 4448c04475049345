// SPDX-License-Identifier: MIT
// Connecting, scanning, reading and writing on a GigE Vision camera on loopback: the adapter against the same
// Aravis calls in a bare loop.
#include <arv.h>
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "brio/fnd/log.h"
#include "vireo/genicam/adapter.h"
#include "vireo/genicam/pixel_format.h"
#include "vireo/genicam/xml_parser.h"

namespace {

constexpr const char* address = "127.0.0.1";

class Quiet final : public brio::fnd::Logger {
 public:
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
};

/// A description of that many integer registers, each a feature.
std::string describeRegisters(int features) {
  std::string list;
  std::string nodes;
  for (int i = 0; i < features; ++i) {
    list += fmt::format("<pFeature>Register{}</pFeature>", i);
    nodes += fmt::format(
        "<Integer Name=\"Register{0}\"><Description>Register {0} of the benchmark.</Description>"
        "<pValue>Register{0}Reg</pValue></Integer><IntReg Name=\"Register{0}Reg\"><Address>{1}</Address>"
        "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>"
        "<Endianess>BigEndian</Endianess></IntReg>",
        i, 0x4000 + 4 * (i % 1000));  // beyond that the registers are shared: the camera's memory is small
  }
  return "<?xml version=\"1.0\"?><RegisterDescription ModelName=\"Bench\" VendorName=\"Bench\">"
         "<Category Name=\"Root\">" +
         list + "</Category>" + nodes + "<Port Name=\"Device\"/></RegisterDescription>";
}

/// A GigE Vision camera on loopback with such a description.
class Camera {
 public:
  explicit Camera(int features) : file_(fmt::format("/tmp/vireo-bench-{}.xml", getpid())) {
    std::ofstream(file_) << describeRegisters(features);
    camera_ = arv_gv_fake_camera_new_full(address, "bench", file_.c_str());
    if (!arv_gv_fake_camera_is_running(camera_)) std::abort();
    for (int i = 0; i < features; ++i) names_.push_back(fmt::format("Register{}", i));
  }
  ~Camera() {
    g_object_unref(camera_);
    std::remove(file_.c_str());
  }
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;
  const std::vector<std::string>& names() const { return names_; }

 private:
  std::string file_;
  ArvGvFakeCamera* camera_;
  std::vector<std::string> names_;
};

void bareScan(ArvDevice* device, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    gint64 min = 0;
    gint64 max = 0;
    benchmark::DoNotOptimize(arv_device_get_integer_feature_value(device, name.c_str(), nullptr));
    arv_device_get_integer_feature_bounds(device, name.c_str(), &min, &max, nullptr);
  }
}

ArvDevice* bareConnect(const std::vector<std::string>& names) {
  ArvDevice* const device = arv_open_device(address, nullptr);
  if (device == nullptr) std::abort();
  std::size_t size = 0;
  benchmark::DoNotOptimize(arv_device_get_genicam_xml(device, &size));
  bareScan(device, names);
  arv_device_set_integer_feature_value(device, "TLParamsLocked", 0, nullptr);
  return device;
}

/// A connected adapter, silent.
class Adapter : public vireo::genicam::GenICamAdapter {
 public:
  Adapter() {
    brio::fnd::SetLogger(&logger_);
    Initialise({address, 5.0});
  }
  ~Adapter() override {
    Disconnect();
    brio::fnd::SetLogger(nullptr);
  }

 private:
  Quiet logger_;
};

void adapterConnects(benchmark::State& state) {
  const Camera camera(static_cast<int>(state.range(0)));
  Adapter adapter;
  for (auto _ : state) {
    benchmark::DoNotOptimize(adapter.Connect());
    adapter.Disconnect();
  }
}

void bareConnects(benchmark::State& state) {
  const Camera camera(static_cast<int>(state.range(0)));
  for (auto _ : state) g_object_unref(bareConnect(camera.names()));
}

void adapterScans(benchmark::State& state) {
  const Camera camera(static_cast<int>(state.range(0)));
  Adapter adapter;
  adapter.Connect();
  for (auto _ : state) benchmark::DoNotOptimize(adapter.Scan());
}

void bareScans(benchmark::State& state) {
  const Camera camera(static_cast<int>(state.range(0)));
  ArvDevice* const device = bareConnect(camera.names());
  for (auto _ : state) bareScan(device, camera.names());
  g_object_unref(device);
}

void adapterReads(benchmark::State& state) {
  const Camera camera(1);
  Adapter adapter;
  adapter.Connect();
  const std::string name = "Register0";
  for (auto _ : state) benchmark::DoNotOptimize(adapter.Read(name));
}

void bareReads(benchmark::State& state) {
  const Camera camera(1);
  ArvDevice* const device = bareConnect(camera.names());
  for (auto _ : state) {
    benchmark::DoNotOptimize(arv_device_get_integer_feature_value(device, "Register0", nullptr));
  }
  g_object_unref(device);
}

void adapterWrites(benchmark::State& state) {
  const Camera camera(1);
  Adapter adapter;
  adapter.Connect();
  vireo::common::Parameter parameter = adapter.Read("Register0");
  for (auto _ : state) adapter.Write(parameter);
}

void bareWrites(benchmark::State& state) {
  const Camera camera(1);
  ArvDevice* const device = bareConnect(camera.names());
  for (auto _ : state) arv_device_set_integer_feature_value(device, "Register0", 7, nullptr);
  g_object_unref(device);
}

void pixelFormatSized(benchmark::State& state) {
  const std::string name = "BayerRG12Packed";
  for (auto _ : state) benchmark::DoNotOptimize(vireo::genicam::bytesPerPixel(name));
}

void nodeLookedUp(benchmark::State& state) {
  const auto nodes = vireo::genicam::XmlParser::parse(describeRegisters(600));
  const std::string name = "Register300";
  for (auto _ : state) benchmark::DoNotOptimize(nodes.find(name));
}

BENCHMARK(adapterConnects)->Name("connect/ours")->Arg(30)->Arg(600)->UseRealTime();
BENCHMARK(bareConnects)->Name("connect/yardstick")->Arg(30)->Arg(600)->UseRealTime();
BENCHMARK(adapterScans)->Name("scan/ours")->Arg(30)->Arg(100)->Arg(600)->Arg(1000)->Arg(10000)->UseRealTime();
BENCHMARK(bareScans)
    ->Name("scan/yardstick")
    ->Arg(30)
    ->Arg(100)
    ->Arg(600)
    ->Arg(1000)
    ->Arg(10000)
    ->UseRealTime();
BENCHMARK(adapterReads)->Name("read/ours")->UseRealTime();
BENCHMARK(bareReads)->Name("read/yardstick")->UseRealTime();
BENCHMARK(adapterWrites)->Name("write/ours")->UseRealTime();
BENCHMARK(bareWrites)->Name("write/yardstick")->UseRealTime();
BENCHMARK(pixelFormatSized)->Name("bytesPerPixel");
BENCHMARK(nodeLookedUp)->Name("node look-up among 600");

}  // namespace

BENCHMARK_MAIN();

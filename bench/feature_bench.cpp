// SPDX-License-Identifier: MIT
// Connecting, scanning, reading and writing on a GigE Vision camera on loopback and on the in-process camera:
// the adapter against the same Aravis calls in a bare loop. Camera and client share one core, because a
// packet that wakes another core takes as long as that core has slept.
#include <arv.h>
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "brio/fnd/log.h"
#include "cores.h"
#include "vireo/genicam/adapter.h"
#include "vireo/genicam/pixel_format.h"
#include "vireo/genicam/xml_parser.h"

namespace {

// Where a camera is found, and the core that it works on; the client works on core 0.
struct Place {
  const char* address;
  unsigned core;
};

constexpr Place loopback = {"127.0.0.1", 1};
constexpr Place oneCore = {"127.0.0.1", 0};
constexpr Place inProcess = {"Fake_1", 0};

class Quiet final : public brio::fnd::Logger {
 public:
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
};

// A description of that many integer registers, each a feature.
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

// A GigE Vision camera on loopback with such a description; the in-process camera has the same one.
class Camera {
 public:
  Camera(int features, const Place& place) : file_(fmt::format("/tmp/vireo-bench-{}.xml", getpid())) {
    std::ofstream(file_) << describeRegisters(features);
    stayOnCore(place.core);
    camera_ = arv_gv_fake_camera_new_full(loopback.address, "bench", file_.c_str());
    stayOnCore(0);
    if (!arv_gv_fake_camera_is_running(camera_)) std::abort();
    arv_set_fake_camera_genicam_filename(file_.c_str());
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

ArvDevice* bareConnect(const Place& place, const std::vector<std::string>& names) {
  ArvDevice* const device = arv_open_device(place.address, nullptr);
  if (device == nullptr) std::abort();
  std::size_t size = 0;
  benchmark::DoNotOptimize(arv_device_get_genicam_xml(device, &size));
  bareScan(device, names);
  arv_device_set_integer_feature_value(device, "TLParamsLocked", 0, nullptr);
  return device;
}

// A connected adapter, silent.
class Adapter : public vireo::genicam::GenICamAdapter {
 public:
  explicit Adapter(const Place& place) {
    brio::fnd::SetLogger(&logger_);
    Initialise({place.address, 5.0});
  }
  ~Adapter() override {
    Disconnect();
    brio::fnd::SetLogger(nullptr);
  }

 private:
  Quiet logger_;
};

void adapterConnects(benchmark::State& state, Place place) {
  const Camera camera(static_cast<int>(state.range(0)), place);
  Adapter adapter(place);
  for (auto _ : state) {
    benchmark::DoNotOptimize(adapter.Connect());
    adapter.Disconnect();
  }
}

void bareConnects(benchmark::State& state, Place place) {
  const Camera camera(static_cast<int>(state.range(0)), place);
  for (auto _ : state) g_object_unref(bareConnect(place, camera.names()));
}

void adapterScans(benchmark::State& state, Place place) {
  const Camera camera(static_cast<int>(state.range(0)), place);
  Adapter adapter(place);
  adapter.Connect();
  for (auto _ : state) benchmark::DoNotOptimize(adapter.Scan());
}

void bareScans(benchmark::State& state, Place place) {
  const Camera camera(static_cast<int>(state.range(0)), place);
  ArvDevice* const device = bareConnect(place, camera.names());
  for (auto _ : state) bareScan(device, camera.names());
  g_object_unref(device);
}

void adapterReads(benchmark::State& state, Place place) {
  const Camera camera(1, place);
  Adapter adapter(place);
  adapter.Connect();
  const std::string name = "Register0";
  for (auto _ : state) benchmark::DoNotOptimize(adapter.Read(name));
}

void bareReads(benchmark::State& state, Place place) {
  const Camera camera(1, place);
  ArvDevice* const device = bareConnect(place, camera.names());
  for (auto _ : state) {
    benchmark::DoNotOptimize(arv_device_get_integer_feature_value(device, "Register0", nullptr));
  }
  g_object_unref(device);
}

void adapterWrites(benchmark::State& state, Place place) {
  const Camera camera(1, place);
  Adapter adapter(place);
  adapter.Connect();
  vireo::common::Parameter parameter = adapter.Read("Register0");
  for (auto _ : state) adapter.Write(parameter);
}

void bareWrites(benchmark::State& state, Place place) {
  const Camera camera(1, place);
  ArvDevice* const device = bareConnect(place, camera.names());
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

// The adapter's way and the bare one, under one name.
#define VIREO_PAIR(ours, yardstick, name, place)                            \
  BENCHMARK_CAPTURE(ours, place, place)->Name(name "/ours")->UseRealTime(); \
  BENCHMARK_CAPTURE(yardstick, place, place)->Name(name "/yardstick")->UseRealTime()
#define VIREO_PAIR_OF(features, ours, yardstick, name, place)                              \
  BENCHMARK_CAPTURE(ours, place, place)->Name(name "/ours")->Arg(features)->UseRealTime(); \
  BENCHMARK_CAPTURE(yardstick, place, place)->Name(name "/yardstick")->Arg(features)->UseRealTime()

VIREO_PAIR_OF(30, adapterConnects, bareConnects, "connect", loopback);
VIREO_PAIR_OF(600, adapterConnects, bareConnects, "connect", loopback);
VIREO_PAIR_OF(600, adapterConnects, bareConnects, "connect on one core", oneCore);
VIREO_PAIR_OF(30, adapterScans, bareScans, "scan", loopback);
VIREO_PAIR_OF(600, adapterScans, bareScans, "scan", loopback);
VIREO_PAIR_OF(100, adapterScans, bareScans, "scan on one core", oneCore);
VIREO_PAIR_OF(600, adapterScans, bareScans, "scan on one core", oneCore);
VIREO_PAIR_OF(1000, adapterScans, bareScans, "scan on one core", oneCore);
VIREO_PAIR_OF(10000, adapterScans, bareScans, "scan on one core", oneCore);
VIREO_PAIR(adapterReads, bareReads, "read", loopback);
VIREO_PAIR(adapterReads, bareReads, "read on one core", oneCore);
VIREO_PAIR(adapterReads, bareReads, "read in process", inProcess);
VIREO_PAIR(adapterWrites, bareWrites, "write", loopback);
VIREO_PAIR(adapterWrites, bareWrites, "write on one core", oneCore);
VIREO_PAIR(adapterWrites, bareWrites, "write in process", inProcess);
BENCHMARK(pixelFormatSized)->Name("bytesPerPixel");
BENCHMARK(nodeLookedUp)->Name("node look-up among 600");

}  // namespace

int main(int argc, char** argv) {
  arv_enable_interface("Fake");
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}

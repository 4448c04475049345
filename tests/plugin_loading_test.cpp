// SPDX-License-Identifier: MIT
// The plug-in as a host loads it: by name at run time, knowing nothing but the adapter interface.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <memory>
#include <thread>
#include <vector>

#include "support/process_use.h"
#include "support/rounds.h"
#include "vireo/common/adapter_base.h"

using vireo::common::AdapterBase;
using vireo::common::FrameInfo;

namespace {

/// One load of the plug-in.
class Plugin {
 public:
  explicit Plugin(const char* file = VIREO_PLUGIN) : library_(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) throw std::runtime_error(dlerror());
  }
  ~Plugin() { dlclose(library_); }
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  template <typename Function>
  Function* find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(library_, name));
  }

  /// Connects, receives two frames, stops and destroys, leaving nothing of the adapter.
  void use() const {
    find<void(const char*)>("arv_set_fake_camera_genicam_filename")(VIREO_SIMULATED_CAMERA);
    for (const char* interface : {"GigEVision", "USB3Vision"})
      find<void(const char*)>("arv_disable_interface")(interface);
    find<void(const char*)>("arv_enable_interface")("Fake");
    const std::unique_ptr<AdapterBase, void (*)(AdapterBase*)> adapter(
        find<AdapterBase*()>("CreateAdapter")(), find<void(AdapterBase*)>("destroyAdapter"));
    adapter->Initialise({"Fake_1", 0.0});
    EXPECT_FALSE(adapter->Connect().empty());
    adapter->StartAcquisition(2);
    std::vector<std::uint8_t> memory(1 << 20);
    std::span<std::uint8_t> span(memory);
    FrameInfo info;
    int frames = 0;
    for (int attempt = 0; attempt < 50 && frames < 2; ++attempt) {
      bool received = false;
      adapter->ReceiveFrame(received, 0, span, info);
      frames += received;
    }
    EXPECT_EQ(frames, 2);
    EXPECT_EQ(adapter->GetAcquisitionState().mode, vireo::common::AcquisitionMode::Stopped);
  }

 private:
  void* library_;
};

}  // namespace

TEST(PluginLoading, IsLoadedUsedAndUnloadedManyTimes) {
  ASSERT_EQ(dlopen(VIREO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
  ProcessUse settled;
  for (int round = 1; round <= rounds(10, 100); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    Plugin().use();
    const ProcessUse use = ProcessUse::now();
    if (round <= 3) settled = use;
    EXPECT_EQ(use.threads, settled.threads);
    EXPECT_EQ(use.descriptors, settled.descriptors);
    EXPECT_LT(use.heap, settled.heap + 64 * 1024);
  }
  std::cout << "  after the third round: " << settled << "\n  at the end: " << ProcessUse::now() << '\n';
}

TEST(PluginLoading, TwoLoadsStandBesideEachOther) {
  auto first = std::make_unique<Plugin>();
  const Plugin second;
  first->use();
  first.reset();
  second.use();
}

TEST(PluginLoading, TwoThreadsLoadAndUseItAtOnce) {
  const auto host = [] {
    for (int round = 0; round < rounds(5, 50); ++round) Plugin().use();
  };
  std::thread other(host);
  host();
  other.join();
}

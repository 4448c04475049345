// SPDX-License-Identifier: MIT
// The plug-in as a host loads it: by name at run time, knowing nothing but the adapter interface.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "support/receive_frames.h"
#include "support/rounds.h"

using vireo::common::AdapterBase;

namespace {

// One load of the plug-in.
class Plugin {
 public:
  Plugin() : library_(dlopen(VIREO_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) throw std::runtime_error(dlerror());
  }
  ~Plugin() { dlclose(library_); }
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  template <typename Function>
  Function* find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(library_, name));
  }

  // Connects, receives two frames, stops and destroys, leaving nothing of the adapter.
  void use() const {
    // Aravis's settings are the process's, and not for two threads at once.
    static std::once_flag simulated;
    std::call_once(simulated, [this] {
      find<void(const char*)>("arv_set_fake_camera_genicam_filename")(VIREO_SIMULATED_CAMERA);
      for (const char* interface : {"GigEVision", "USB3Vision"})
        find<void(const char*)>("arv_disable_interface")(interface);
      find<void(const char*)>("arv_enable_interface")("Fake");
    });
    const std::unique_ptr<AdapterBase, void (*)(AdapterBase*)> adapter(
        find<AdapterBase*()>("CreateAdapter")(), find<void(AdapterBase*)>("destroyAdapter"));
    adapter->Initialise({"Fake_1", 0.0});
    EXPECT_FALSE(adapter->Connect().empty());
    adapter->StartAcquisition(2);
    std::vector<std::uint8_t> memory(1 << 20);
    vireo::common::FrameInfo info;
    EXPECT_EQ(receive(*adapter, memory, info, 2), 2);
    EXPECT_EQ(adapter->GetAcquisitionState().mode, vireo::common::AcquisitionMode::Stopped);
  }

 private:
  void* library_;
};

}  // namespace

TEST(PluginLoading, IsLoadedUsedAndUnloadedManyTimes) {
  ASSERT_EQ(dlopen(VIREO_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
  repeatWithoutGrowth(rounds(10, 100), [](int) { Plugin().use(); });
}

TEST(PluginLoading, TwoThreadsLoadAndUseItAtOnce) {
  const auto host = [] {
    for (int round = 0; round < rounds(5, 50); ++round) Plugin().use();
  };
  std::thread other(host);
  host();
  other.join();
}

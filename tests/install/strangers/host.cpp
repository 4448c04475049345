// SPDX-License-Identifier: MIT
// strangers_host PLUGIN DESCRIPTION: loads the plug-in and uses an in-process camera of that description.
// Prints what it gets, and each record with `TIME` and `LINE` in the place of those.
#include <dlfcn.h>

#include <iostream>
#include <regex>

#include "vireo/common/adapter_base.h"

using namespace vireo::common;

namespace {

struct Printing : brio::fnd::Logger {
  void Record(std::int32_t level, const std::string& text) override {
    static const std::regex varying(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d{1,10})?:([^:]*):\d+:)");
    std::cout << level << " " << std::regex_replace(text, varying, "TIME:$2:LINE:") << '\n';
  }
  void Record(const std::string& text) override { std::cout << "always " << text << '\n'; }
};

}  // namespace

int main(int argc, char** argv) {
  void* const plugin = argc == 3 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (plugin == nullptr) return std::cerr << dlerror() << '\n', 1;
  const auto find = [&]<typename Function>(const char* name, Function*& found) {
    found = reinterpret_cast<Function*>(dlsym(plugin, name));
  };
  void (*serve)(const char*), (*disable)(const char*), (*enable)(const char*), (*destroy)(AdapterBase*);
  AdapterBase* (*create)();
  find("arv_set_fake_camera_genicam_filename", serve);
  find("arv_disable_interface", disable);
  find("arv_enable_interface", enable);
  find("CreateAdapter", create);
  find("destroyAdapter", destroy);
  serve(argv[2]);
  disable("GigEVision");
  disable("USB3Vision");
  enable("Fake");

  Printing logger;
  brio::fnd::InstallLogger(logger);
  AdapterBase* const adapter = create();
  adapter->Initialise({3, "Fake_1"});
  std::cout << adapter->Connect().size() << " parameters\n";
  Parameter width;
  width.name = "Width";
  width.value = std::string("no number");
  logger.threshold = 10;
  adapter->Write(width);
  width.value = 128.9;
  adapter->Write(width);
  logger.threshold = 0;
  width = adapter->Read("Width");
  logger.threshold = 20;
  std::cout << "Width " << width.GetValue<int>() << ", " << adapter->Scan().size() << " scanned\n";

  adapter->StartAcquisition(1);
  std::vector<std::uint8_t> memory(1 << 20);
  std::span<std::uint8_t> buffer(memory);
  FrameInfo info;
  for (bool received = false; !received;) adapter->ReceiveFrame(received, 0, buffer, info);
  std::cout << "frame of " << info.width << " x " << info.height << ", " << info.size << " bytes\n";
  try {
    adapter->Read("None");
  } catch (const std::runtime_error& error) {
    std::cout << error.what() << '\n';
  }
  destroy(adapter);
}

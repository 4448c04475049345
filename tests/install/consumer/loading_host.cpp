// SPDX-License-Identifier: MIT
// Loads the plug-in by its file name and knows it through AdapterBase alone.
#include <dlfcn.h>

#include <iostream>
#include <stdexcept>

#include "vireo/common/adapter_base.h"

using vireo::common::AdapterBase;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  void* const plugin = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (plugin == nullptr) {
    std::cerr << dlerror() << '\n';
    return 1;
  }
  const auto create = reinterpret_cast<AdapterBase* (*)()>(dlsym(plugin, "CreateAdapter"));
  const auto destroy = reinterpret_cast<void (*)(AdapterBase*)>(dlsym(plugin, "destroyAdapter"));
  if (create == nullptr || destroy == nullptr) return 1;

  AdapterBase* const adapter = create();
  std::cout << "protocol: " << adapter->GetProtocol() << '\n';
  std::cout << "connection: " << adapter->CheckConnection().messages.at(0) << '\n';
  try {
    adapter->Read("Width");
  } catch (const std::runtime_error& error) {  // the type crosses the library boundary
    std::cout << "read: " << error.what() << '\n';
  }
  destroy(adapter);
}

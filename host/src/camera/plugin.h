// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "vireo/common/adapter_base.h"

namespace vireo::host {

/// The adapter plug-in: a shared library with the entry points `CreateAdapter` and `destroyAdapter`.
class Plugin {
 public:
  using AdapterHandle = std::unique_ptr<common::AdapterBase, void (*)(common::AdapterBase*)>;

  /// Loads `file`; an empty text means libvireo_genicam_arv.so beside this program, then on the library path.
  /// Throws Failure with the file's name and the loader's own text.
  explicit Plugin(const std::string& file);

  /// A new adapter; it must not outlive the plug-in.
  AdapterHandle MakeAdapter() const;

 private:
  std::string file_;
  std::unique_ptr<void, int (*)(void*)> library_;
  common::AdapterBase* (*create_)() = nullptr;
  void (*destroy_)(common::AdapterBase*) = nullptr;
};

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "camera/plugin.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <filesystem>
#include <system_error>

#include "camera/program_path.h"
#include "terminal/failure.h"

namespace vireo::host {
namespace {

constexpr const char* pluginName = "libvireo_genicam_arv.so";

std::string findPlugin(const std::string& file) {
  if (!file.empty()) {
    // A name without a slash would be looked up on the library path.
    return file.find('/') == std::string::npos ? "./" + file : file;
  }
  std::error_code ignored;
  const std::filesystem::path beside = ProgramDirectory() / pluginName;
  return std::filesystem::exists(beside, ignored) ? beside.string() : pluginName;
}

std::string loaderError() {
  const char* const text = dlerror();
  return text != nullptr ? text : "unknown loader error";
}

void* findEntryPoint(void* library, const std::string& file, const char* name) {
  void* const address = dlsym(library, name);
  if (address == nullptr) {
    throw Failure(ExitStatus::Failed,
                  fmt::format("{} is not an adapter plug-in, it lacks {}: {}", file, name, loaderError()));
  }
  return address;
}

}  // namespace

Plugin::Plugin(const std::string& file) : file_(findPlugin(file)), library_(nullptr, dlclose) {
  library_.reset(dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (library_ == nullptr) {
    throw Failure(
        ExitStatus::Failed,
        fmt::format("cannot load the adapter {}: {}; name its file with --adapter", file_, loaderError()));
  }
  create_ = reinterpret_cast<decltype(create_)>(findEntryPoint(library_.get(), file_, "CreateAdapter"));
  destroy_ = reinterpret_cast<decltype(destroy_)>(findEntryPoint(library_.get(), file_, "destroyAdapter"));
}

Plugin::AdapterHandle Plugin::MakeAdapter() const {
  AdapterHandle adapter(create_(), destroy_);
  if (adapter == nullptr) throw Failure(ExitStatus::Failed, fmt::format("{} made no adapter", file_));
  return adapter;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "support/aravis_script.h"

#include <dlfcn.h>

#include <algorithm>
#include <type_traits>
#include <utility>

namespace {

// Writes the call down, then fails, answers or makes it.
template <typename Result, typename Real>
Result scripted(const std::string& call, GError** error, Real real) {
  AravisScript* const script = AravisScript::current;
  if (script == nullptr) return real();
  if (script->intercept(call, error)) return Result();
  if constexpr (std::is_arithmetic_v<Result> || std::is_enum_v<Result>) {
    if (const auto number = script->number(call)) return static_cast<Result>(*number);
  }
  return real();
}

}  // namespace

void AravisScript::fail(const std::string& call, const std::string& text, int times) {
  const std::lock_guard lock(mutex_);
  failures_[call].insert(failures_[call].end(), static_cast<std::size_t>(times), text);
}

std::vector<std::string> AravisScript::takeCalls() {
  const std::lock_guard lock(mutex_);
  return std::exchange(calls_, {});
}

std::size_t AravisScript::count(const std::string& call) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::count(calls_.begin(), calls_.end(), call));
}

std::size_t AravisScript::count() const {
  const std::lock_guard lock(mutex_);
  return calls_.size();
}

bool AravisScript::intercept(const std::string& call, GError** error) {
  std::function<void()> action;
  {
    const std::lock_guard lock(mutex_);
    if (failingPlace_ && failingPlace_->first == calls_.size()) failures_[call] = {failingPlace_->second};
    calls_.push_back(call);
    if (const auto found = actions_.find(call); found != actions_.end()) {
      action = std::move(found->second);
      actions_.erase(found);
    }
  }
  if (action) action();
  const std::lock_guard lock(mutex_);
  const auto found = failures_.find(call);
  if (found == failures_.end() || found->second.empty()) return false;
  const std::string text = found->second.front();
  found->second.pop_front();
  if (error != nullptr && !text.empty()) {
    *error = g_error_new_literal(ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_UNKNOWN, text.c_str());
  }
  return true;
}

std::optional<double> AravisScript::number(const std::string& call) const {
  const auto found = numbers_.find(call);
  return found == numbers_.end() ? std::nullopt : std::optional(found->second);
}

#define REAL(function) \
  static const auto real = reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function))

#define CALL(type, function, name, error, parameters, arguments)        \
  type function parameters {                                            \
    REAL(function);                                                     \
    return scripted<type>(name, error, [&] { return real arguments; }); \
  }
#define FEATURE(type, function, name, parameters, arguments) \
  CALL(type, function, name + std::string(" ") + feature, error, parameters, arguments)
#define GETTER(type, kind)                                           \
  FEATURE(type, arv_device_get_##kind##_feature_value, "get_" #kind, \
          (ArvDevice * device, const char* feature, GError** error), (device, feature, error))
#define SETTER(type, kind)                                                       \
  FEATURE(void, arv_device_set_##kind##_feature_value, "set_" #kind,             \
          (ArvDevice * device, const char* feature, type value, GError** error), \
          (device, feature, value, error))
#define BOUNDS(type, kind)                                                                 \
  FEATURE(void, arv_device_get_##kind##_feature_bounds, "bounds_" #kind,                   \
          (ArvDevice * device, const char* feature, type* min, type* max, GError** error), \
          (device, feature, min, max, error))

extern "C" {

ArvDevice* arv_open_device(const char* id, GError** error) {
  REAL(arv_open_device);
  return scripted<ArvDevice*>("open", error, [&] {
    AravisScript* const script = AravisScript::current;
    ArvDevice* const device = script == nullptr || script->opened == nullptr
                                  ? real(id, error)
                                  : reinterpret_cast<ArvDevice*>(g_object_ref(script->opened));
    if (script != nullptr) script->device = device;
    return device;
  });
}

const char* arv_device_get_genicam_xml(ArvDevice* device, size_t* size) {
  REAL(arv_device_get_genicam_xml);
  return scripted<const char*>("get_xml", nullptr, [&] {
    const AravisScript* const script = AravisScript::current;
    if (script == nullptr || !script->xml) return real(device, size);
    *size = script->xml->size();
    return script->xml->data();
  });
}

GETTER(gint64, integer)
GETTER(double, float)
GETTER(gboolean, boolean)
GETTER(const char*, string)
SETTER(gint64, integer)
SETTER(double, float)
SETTER(gboolean, boolean)
SETTER(const char*, string)
BOUNDS(gint64, integer)
BOUNDS(double, float)
FEATURE(void, arv_device_execute_command, "execute",
        (ArvDevice * device, const char* feature, GError** error), (device, feature, error))

ArvStream* arv_device_create_stream(ArvDevice* device, ArvStreamCallback callback, void* data,
                                    GError** error) {
  REAL(arv_device_create_stream);
  ArvStream* const stream =
      scripted<ArvStream*>("create_stream", error, [&] { return real(device, callback, data, error); });
  AravisScript* const script = AravisScript::current;
  if (script != nullptr) script->stream = stream;
  const bool extra = stream == nullptr && script != nullptr && script->streamDespiteError;
  return extra ? real(device, callback, data, nullptr) : stream;
}

const void* arv_buffer_get_data(ArvBuffer* buffer, size_t* size) {
  REAL(arv_buffer_get_data);
  const void* const data = real(buffer, size);
  return scripted<const void*>("data", nullptr, [&] { return data; });
}

CALL(void, arv_stream_push_buffer, "push_buffer", nullptr, (ArvStream * stream, ArvBuffer* buffer),
     (stream, buffer))
CALL(ArvBuffer*, arv_stream_timeout_pop_buffer, "pop " + std::to_string(timeout), nullptr,
     (ArvStream * stream, guint64 timeout), (stream, timeout))
CALL(ArvBufferStatus, arv_buffer_get_status, "status", nullptr, (ArvBuffer * buffer), (buffer))
CALL(ArvPixelFormat, arv_buffer_get_image_pixel_format, "pixel_format", nullptr, (ArvBuffer * buffer),
     (buffer))
}

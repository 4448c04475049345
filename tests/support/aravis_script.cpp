// SPDX-License-Identifier: MIT
#include "support/aravis_script.h"

#include <dlfcn.h>

#include <algorithm>
#include <utility>

namespace {

bool intercepted(const std::string& call, GError** error = nullptr) {
  AravisScript* const script = AravisScript::current;
  return script != nullptr && script->intercept(call, error);
}

std::optional<double> answered(const std::string& call) {
  const AravisScript* const script = AravisScript::current;
  return script != nullptr ? script->number(call) : std::nullopt;
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

extern "C" {

ArvDevice* arv_open_device(const char* id, GError** error) {
  REAL(arv_open_device);
  if (intercepted("open", error)) return nullptr;
  const AravisScript* const script = AravisScript::current;
  if (script == nullptr || script->opened == nullptr) return real(id, error);
  return reinterpret_cast<ArvDevice*>(g_object_ref(script->opened));
}

const char* arv_device_get_genicam_xml(ArvDevice* device, size_t* size) {
  REAL(arv_device_get_genicam_xml);
  if (intercepted("get_xml")) return nullptr;
  const AravisScript* const script = AravisScript::current;
  if (script == nullptr || !script->xml) return real(device, size);
  *size = script->xml->size();
  return script->xml->data();
}

#define GETTER(type, function, call)                                      \
  type function(ArvDevice* device, const char* feature, GError** error) { \
    REAL(function);                                                       \
    const std::string name = call " " + std::string(feature);             \
    if (intercepted(name, error)) return {};                              \
    if (const auto number = answered(name)) return type(*number);         \
    return real(device, feature, error);                                  \
  }
GETTER(gint64, arv_device_get_integer_feature_value, "get_integer")
GETTER(double, arv_device_get_float_feature_value, "get_float")
GETTER(gboolean, arv_device_get_boolean_feature_value, "get_boolean")

#define BOUNDS_GETTER(type, function, call)                                                     \
  void function(ArvDevice* device, const char* feature, type* min, type* max, GError** error) { \
    REAL(function);                                                                             \
    if (intercepted(call " " + std::string(feature), error)) return;                            \
    real(device, feature, min, max, error);                                                     \
  }
BOUNDS_GETTER(gint64, arv_device_get_integer_feature_bounds, "bounds_integer")
BOUNDS_GETTER(double, arv_device_get_float_feature_bounds, "bounds_float")

#define SETTER(type, function, call)                                                  \
  void function(ArvDevice* device, const char* feature, type value, GError** error) { \
    REAL(function);                                                                   \
    if (intercepted(call " " + std::string(feature), error)) return;                  \
    real(device, feature, value, error);                                              \
  }
SETTER(gint64, arv_device_set_integer_feature_value, "set_integer")
SETTER(double, arv_device_set_float_feature_value, "set_float")
SETTER(gboolean, arv_device_set_boolean_feature_value, "set_boolean")
SETTER(const char*, arv_device_set_string_feature_value, "set_string")

const char* arv_device_get_string_feature_value(ArvDevice* device, const char* feature, GError** error) {
  REAL(arv_device_get_string_feature_value);
  return intercepted("get_string " + std::string(feature), error) ? nullptr : real(device, feature, error);
}

void arv_device_execute_command(ArvDevice* device, const char* feature, GError** error) {
  REAL(arv_device_execute_command);
  if (!intercepted("execute " + std::string(feature), error)) real(device, feature, error);
}

ArvStream* arv_device_create_stream(ArvDevice* device, ArvStreamCallback callback, void* data,
                                    GError** error) {
  REAL(arv_device_create_stream);
  return intercepted("create_stream", error) ? nullptr : real(device, callback, data, error);
}

void arv_stream_push_buffer(ArvStream* stream, ArvBuffer* buffer) {
  REAL(arv_stream_push_buffer);
  intercepted("push_buffer");
  real(stream, buffer);
}

ArvBuffer* arv_stream_timeout_pop_buffer(ArvStream* stream, guint64 timeout) {
  REAL(arv_stream_timeout_pop_buffer);
  return intercepted("pop " + std::to_string(timeout)) ? nullptr : real(stream, timeout);
}

ArvBufferStatus arv_buffer_get_status(ArvBuffer* buffer) {
  REAL(arv_buffer_get_status);
  const auto status = answered("status");
  return status ? static_cast<ArvBufferStatus>(*status) : real(buffer);
}

const void* arv_buffer_get_data(ArvBuffer* buffer, size_t* size) {
  REAL(arv_buffer_get_data);
  const void* const data = real(buffer, size);
  return intercepted("data") ? nullptr : data;
}

ArvPixelFormat arv_buffer_get_image_pixel_format(ArvBuffer* buffer) {
  REAL(arv_buffer_get_image_pixel_format);
  const auto format = answered("pixel_format");
  return format ? static_cast<ArvPixelFormat>(*format) : real(buffer);
}
}

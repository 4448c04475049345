// SPDX-License-Identifier: MIT
#include "torture/library_watch.h"

#include <arv.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <libusb-1.0/libusb.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

#include "simulator/usb/usb_bus.h"

namespace {

constexpr unsigned char commandEndpoint = 0x01;

std::atomic<int> alive{0};
std::atomic<unsigned long> requestsUntilUnplugged{0};
pthread_t caller;
std::string program;  // the name that threads have without one of their own
std::mutex lossesMutex;
std::map<std::string, int> losses;

template <typename T>
T* counted(T* object) {
  if (object == nullptr) return nullptr;
  ++alive;
  g_object_weak_ref(
      G_OBJECT(object), [](gpointer, GObject*) { --alive; }, nullptr);
  return object;
}

std::string threadName() {
  if (pthread_equal(pthread_self(), caller) != 0) return "caller";
  std::array<char, 16> name{};
  pthread_getname_np(pthread_self(), name.data(), name.size());
  // The name that the library gives its heartbeat thread is too long for the system.
  return std::string_view(name.data()) == program ? "heartbeat" : name.data();
}

// Before the handlers; without one the adapter is not told.
gboolean onLoss(GSignalInvocationHint* hint, guint, const GValue* values, gpointer) {
  if (g_signal_has_handler_pending(g_value_get_object(values), hint->signal_id, 0, TRUE) == FALSE)
    return TRUE;
  const std::lock_guard lock(lossesMutex);
  ++losses[threadName()];
  return TRUE;
}

void onFatalSignal(int number) {
  std::array<void*, 40> frames{};
  const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
  backtrace_symbols_fd(frames.data(), count, STDERR_FILENO);
  signal(number, SIG_DFL);
  raise(number);
}

}  // namespace

namespace vireo::torture::library {

int ObjectsAlive() {
  return alive;
}

std::map<std::string, int> TakeLosses() {
  const std::lock_guard lock(lossesMutex);
  return std::exchange(losses, {});
}

void WatchProcess() {
  caller = pthread_self();
  std::array<char, 16> name{};
  pthread_getname_np(caller, name.data(), name.size());
  program = name.data();
  std::array<void*, 1> first{};
  backtrace(first.data(), 1);  // what it loads the first time must not be loaded in a signal
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP}) signal(number, onFatalSignal);
  g_type_class_ref(ARV_TYPE_DEVICE);
  g_signal_add_emission_hook(g_signal_lookup("control-lost", ARV_TYPE_DEVICE), 0, onLoss, nullptr, nullptr);
}

void UnplugInRequest(unsigned long number) {
  requestsUntilUnplugged = number;
}

}  // namespace vireo::torture::library

#define REAL(function) \
  static const auto real = reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function))

extern "C" {

ArvDevice* arv_open_device(const char* id, GError** error) {
  REAL(arv_open_device);
  return counted(real(id, error));
}

ArvStream* arv_device_create_stream(ArvDevice* device, ArvStreamCallback callback, void* data,
                                    GError** error) {
  REAL(arv_device_create_stream);
  return counted(real(device, callback, data, error));
}

ArvBuffer* arv_buffer_new(size_t size, void* memory) {
  REAL(arv_buffer_new);
  return counted(real(size, memory));
}

__attribute__((visibility("default"))) int libusb_bulk_transfer(libusb_device_handle* handle,
                                                                unsigned char endpoint, unsigned char* data,
                                                                int length, int* transferred,
                                                                unsigned timeout) {
  REAL(libusb_bulk_transfer);
  if (endpoint == commandEndpoint && requestsUntilUnplugged > 0 && --requestsUntilUnplugged == 0) {
    vireo::simulator::UnplugUsbCamera();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return real(handle, endpoint, data, length, transferred, timeout);
}
}

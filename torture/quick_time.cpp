// SPDX-License-Identifier: MIT
// Preloaded, it lets the camera library's time pass ten times as fast: what waits half a second for an answer
// waits 50 ms. Nearly all of a run with a faulty camera is such waiting. The adapter and the simulated camera
// keep the real time.
#include <dlfcn.h>
#include <glib.h>
#include <libusb-1.0/libusb.h>

namespace {

constexpr int speed = 10;

// Of what waits at all, something is left.
template <typename Time>
Time shortened(Time time) {
  return time > 0 ? (time + speed - 1) / speed : time;
}

}  // namespace

#define REAL(function) \
  static const auto real = reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function))

extern "C" {

__attribute__((visibility("default"))) gint64 g_get_monotonic_time() {
  REAL(g_get_monotonic_time);
  return real() * speed;
}

__attribute__((visibility("default"))) gint g_poll(GPollFD* descriptors, guint count, gint milliseconds) {
  REAL(g_poll);
  return real(descriptors, count, shortened(milliseconds));
}

__attribute__((visibility("default"))) void g_usleep(gulong microseconds) {
  REAL(g_usleep);
  real(shortened(microseconds));
}

__attribute__((visibility("default"))) gdouble g_timer_elapsed(GTimer* timer, gulong* microseconds) {
  REAL(g_timer_elapsed);
  return real(timer, microseconds) * speed;
}

__attribute__((visibility("default"))) int libusb_bulk_transfer(libusb_device_handle* handle,
                                                                unsigned char endpoint, unsigned char* data,
                                                                int length, int* transferred,
                                                                unsigned timeout) {
  REAL(libusb_bulk_transfer);
  return real(handle, endpoint, data, length, transferred, shortened(timeout));
}
}

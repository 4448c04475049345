// SPDX-License-Identifier: MIT
// The functions of libusb that the camera library calls, over a simulated camera instead of a bus. Put before
// the real library, by LD_PRELOAD or in the order of linking, it takes the real one's place; no real device
// is seen.
//
// Several contexts see the one camera. Synchronous requests go straight to it, on the caller's thread.
// Asynchronous ones wait in the context of their device handle: the thread that handles that context's events
// makes them, in the order in which they were submitted, and calls back. Removal is told once to every
// callback of a context, by the same thread.
#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "simulator/usb/usb_bus.h"
#include "simulator/usb/usb_camera.h"

using std::chrono::milliseconds;
using vireo::simulator::ByteView;
using vireo::simulator::CameraIdentity;
using vireo::simulator::Clock;
using vireo::simulator::UsbCamera;
using vireo::simulator::UsbResult;

struct libusb_device {
  libusb_context* context;
};

struct libusb_context {
  struct Callback {
    libusb_hotplug_callback_handle handle;
    libusb_hotplug_callback_fn function;
    void* data;
    std::shared_ptr<UsbCamera> told;  // the camera whose removal it knows of
  };
  struct Transfer {
    libusb_transfer* transfer;
    bool isCancelled = false;
  };
  libusb_device device{this};  // the camera, as this context sees it
  std::mutex mutex;            // for the rest; never held while a callback runs
  std::vector<Callback> callbacks;
  std::deque<Transfer> transfers;
  libusb_hotplug_callback_handle lastHandle = 0;
};

struct libusb_device_handle {
  libusb_context* context;
  std::shared_ptr<UsbCamera> camera;
};

namespace {

constexpr std::uint8_t answerEndpoint = 0x81;
constexpr std::uint8_t streamEndpoint = 0x82;
constexpr std::uint8_t commandEndpoint = 0x01;
constexpr std::uint8_t miscellaneous = 0xef;
constexpr std::uint8_t usb3Vision = 5;
constexpr milliseconds patience(10);  // until a cancelled transfer or a removal is seen

const CameraIdentity identity = {.serial = "USB01"};
// The string descriptors, from index 1 on.
const std::array<std::string, 4> strings = {identity.vendor, identity.model, identity.serial, "FEED00000001"};
constexpr std::uint8_t guidString = 4;

class Bus {
 public:
  static Bus& Instance() {
    static Bus bus;
    return bus;
  }
  std::shared_ptr<UsbCamera> Camera() {
    const std::lock_guard lock(mutex_);
    return camera_;
  }
  void PlugIn(const std::string& description, const std::string& faults) {
    auto camera = std::make_shared<UsbCamera>(description, faults, identity);
    Unplug();
    const std::lock_guard lock(mutex_);
    camera_ = std::move(camera);
  }
  void Unplug() {
    if (const auto camera = Camera(); camera != nullptr) camera->Unplug();
  }
  // To be called by who looks for cameras: plugs one in again whose time has come.
  void Return() {
    const auto camera = Camera();
    if (returnTime_ == milliseconds(0) || camera == nullptr || camera->IsPluggedIn()) return;
    const std::lock_guard lock(returnMutex_);
    if (!missedSince_) missedSince_ = Clock::now();
    if (Clock::now() - *missedSince_ < returnTime_) return;
    missedSince_.reset();
    PlugIn(environment("VIREO_USB_CAMERA"), environment("VIREO_USB_FAULTS"));
  }

 private:
  Bus() {
    const std::string description = environment("VIREO_USB_CAMERA");
    if (!description.empty()) PlugIn(description, environment("VIREO_USB_FAULTS"));
    returnTime_ = milliseconds(std::strtol(environment("VIREO_USB_RETURN").c_str(), nullptr, 10));
  }
  static std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
  }

  std::mutex mutex_;
  std::shared_ptr<UsbCamera> camera_;
  milliseconds returnTime_{0};  // after its removal was seen; 0: it stays away
  std::mutex returnMutex_;
  std::optional<Clock::time_point> missedSince_;
};

int errorOf(UsbResult result) {
  switch (result) {
    case UsbResult::Done:
      return LIBUSB_SUCCESS;
    case UsbResult::TimedOut:
      return LIBUSB_ERROR_TIMEOUT;
    case UsbResult::Overflow:
      return LIBUSB_ERROR_OVERFLOW;
    case UsbResult::NoDevice:
      break;
  }
  return LIBUSB_ERROR_NO_DEVICE;
}

libusb_transfer_status statusOf(UsbResult result) {
  switch (result) {
    case UsbResult::Done:
      return LIBUSB_TRANSFER_COMPLETED;
    case UsbResult::TimedOut:
      return LIBUSB_TRANSFER_TIMED_OUT;
    case UsbResult::Overflow:
      return LIBUSB_TRANSFER_OVERFLOW;
    case UsbResult::NoDevice:
      break;
  }
  return LIBUSB_TRANSFER_NO_DEVICE;
}

// 0 waits for ever, to a libusb client.
Clock::time_point deadline(unsigned timeout) {
  return Clock::now() + (timeout == 0 ? std::chrono::hours(1) : milliseconds(timeout));
}

// The descriptor of the one configuration: an interface for control, one for the stream.
class Configuration {
 public:
  Configuration() {
    for (auto& endpoint : endpoints_) {
      endpoint.bLength = LIBUSB_DT_ENDPOINT_SIZE;
      endpoint.bDescriptorType = LIBUSB_DT_ENDPOINT;
      endpoint.bmAttributes = LIBUSB_TRANSFER_TYPE_BULK;
      endpoint.wMaxPacketSize = 1024;
    }
    endpoints_[0].bEndpointAddress = answerEndpoint;
    endpoints_[1].bEndpointAddress = commandEndpoint;
    endpoints_[2].bEndpointAddress = streamEndpoint;
    describe(0, 0, &endpoints_[0], 2);
    describe(1, 2, &endpoints_[2], 1);
    settings_[0].extra = information_.data();
    settings_[0].extra_length = static_cast<int>(information_.size());
    descriptor_.bLength = LIBUSB_DT_CONFIG_SIZE;
    descriptor_.bDescriptorType = LIBUSB_DT_CONFIG;
    descriptor_.bNumInterfaces = 2;
    descriptor_.bConfigurationValue = 1;
    descriptor_.interface = interfaces_.data();
  }
  libusb_config_descriptor* Get() { return &descriptor_; }

 private:
  void describe(std::size_t number, std::uint8_t protocol, const libusb_endpoint_descriptor* endpoints,
                std::uint8_t count) {
    libusb_interface_descriptor& setting = settings_[number];
    setting.bLength = LIBUSB_DT_INTERFACE_SIZE;
    setting.bDescriptorType = LIBUSB_DT_INTERFACE;
    setting.bInterfaceNumber = static_cast<std::uint8_t>(number);
    setting.bNumEndpoints = count;
    setting.bInterfaceClass = miscellaneous;
    setting.bInterfaceSubClass = usb3Vision;
    setting.bInterfaceProtocol = protocol;
    setting.endpoint = endpoints;
    interfaces_[number] = {&setting, 1};
  }

  // GenCP and USB3 Vision 1.0, then the indices of GUID, vendor, model, family, version, information, serial
  // number and user name, then the speeds.
  std::array<std::uint8_t, 20> information_ = {20, 0x24,       1, 0, 0, 1, 0, 0, 0, 1,
                                               0,  guidString, 1, 2, 2, 2, 2, 3, 0, 8};
  std::array<libusb_endpoint_descriptor, 3> endpoints_{};
  std::array<libusb_interface_descriptor, 2> settings_{};
  std::array<libusb_interface, 2> interfaces_{};
  libusb_config_descriptor descriptor_{};
};

void tellOfRemoval(libusb_context& context) {
  const auto camera = Bus::Instance().Camera();
  if (camera == nullptr || camera->IsPluggedIn()) return;
  for (;;) {
    libusb_context::Callback next{};
    {
      const std::lock_guard lock(context.mutex);
      const auto untold = std::ranges::find_if(context.callbacks,
                                               [&](const auto& callback) { return callback.told != camera; });
      if (untold == context.callbacks.end()) return;
      untold->told = camera;
      next = *untold;
    }
    next.function(&context, &context.device, LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT, next.data);
  }
}

// Takes the first transfer out and calls back.
void complete(libusb_context& context, libusb_transfer_status status, std::size_t received) {
  libusb_transfer* transfer = nullptr;
  {
    const std::lock_guard lock(context.mutex);
    transfer = context.transfers.front().transfer;
    context.transfers.pop_front();
  }
  transfer->status = status;
  transfer->actual_length = static_cast<int>(received);
  transfer->callback(transfer);
}

// Whether there was a transfer to work on.
bool workOnTransfer(libusb_context& context, Clock::time_point until) {
  libusb_context::Transfer first{};
  {
    const std::lock_guard lock(context.mutex);
    if (context.transfers.empty()) return false;
    // A cancelled transfer need not wait for its turn.
    const auto cancelled = std::ranges::find_if(context.transfers, &libusb_context::Transfer::isCancelled);
    if (cancelled != context.transfers.end())
      std::rotate(context.transfers.begin(), cancelled, cancelled + 1);
    first = context.transfers.front();
  }
  if (first.isCancelled) return complete(context, LIBUSB_TRANSFER_CANCELLED, 0), true;
  std::size_t received = 0;
  const std::span buffer(first.transfer->buffer, static_cast<std::size_t>(first.transfer->length));
  const UsbResult result = first.transfer->dev_handle->camera->ReceiveStream(buffer, received, until);
  if (result != UsbResult::TimedOut) complete(context, statusOf(result), received);
  return true;
}

}  // namespace

namespace vireo::simulator {

void PlugUsbCameraIn(const char* descriptionFile, const char* faults) {
  Bus::Instance().PlugIn(descriptionFile, faults);
}

void UnplugUsbCamera() {
  Bus::Instance().Unplug();
}

void SetUsbCameraFaults(const char* faults) {
  Bus::Instance().Camera()->SetFaults(faults);
}

std::shared_ptr<UsbCamera> UsbCameraOnBus() {
  return Bus::Instance().Camera();
}

}  // namespace vireo::simulator

int libusb_init(libusb_context** context) {
  *context = new libusb_context;
  return LIBUSB_SUCCESS;
}

void libusb_exit(libusb_context* context) {
  delete context;
}

const char* libusb_error_name(int code) {
  switch (code) {
    case LIBUSB_SUCCESS:
      return "LIBUSB_SUCCESS";
    case LIBUSB_ERROR_TIMEOUT:
      return "LIBUSB_ERROR_TIMEOUT";
    case LIBUSB_ERROR_OVERFLOW:
      return "LIBUSB_ERROR_OVERFLOW";
    case LIBUSB_ERROR_NO_DEVICE:
      return "LIBUSB_ERROR_NO_DEVICE";
    default:
      return "LIBUSB_ERROR_OTHER";
  }
}

ssize_t libusb_get_device_list(libusb_context* context, libusb_device*** list) {
  Bus::Instance().Return();
  const auto camera = Bus::Instance().Camera();
  const bool isThere = camera != nullptr && camera->IsPluggedIn();
  *list = new libusb_device* [2] { isThere ? &context->device : nullptr, nullptr };
  return isThere ? 1 : 0;
}

void libusb_free_device_list(libusb_device** list, int) {
  delete[] list;
}

int libusb_get_device_descriptor(libusb_device*, libusb_device_descriptor* descriptor) {
  *descriptor = {};
  descriptor->bLength = LIBUSB_DT_DEVICE_SIZE;
  descriptor->bDescriptorType = LIBUSB_DT_DEVICE;
  descriptor->bcdUSB = 0x0300;
  descriptor->bDeviceClass = miscellaneous;
  descriptor->bDeviceSubClass = 2;
  descriptor->bDeviceProtocol = 1;
  descriptor->iManufacturer = 1;
  descriptor->iProduct = 2;
  descriptor->iSerialNumber = 3;
  descriptor->bNumConfigurations = 1;
  return LIBUSB_SUCCESS;
}

int libusb_get_config_descriptor(libusb_device*, std::uint8_t, libusb_config_descriptor** descriptor) {
  static Configuration configuration;
  *descriptor = configuration.Get();
  return LIBUSB_SUCCESS;
}

void libusb_free_config_descriptor(libusb_config_descriptor*) {}

int libusb_get_string_descriptor_ascii(libusb_device_handle*, std::uint8_t index, unsigned char* data,
                                       int length) {
  if (index == 0 || index > strings.size() || length <= 0) return LIBUSB_ERROR_INVALID_PARAM;
  const std::string& text = strings[index - 1u];
  const std::size_t size = std::min(text.size(), static_cast<std::size_t>(length) - 1);
  std::memcpy(data, text.data(), size);
  data[size] = 0;
  return static_cast<int>(size);
}

int libusb_open(libusb_device* device, libusb_device_handle** handle) {
  auto camera = Bus::Instance().Camera();
  if (camera == nullptr || !camera->IsPluggedIn()) return LIBUSB_ERROR_NO_DEVICE;
  *handle = new libusb_device_handle{device->context, std::move(camera)};
  return LIBUSB_SUCCESS;
}

void libusb_close(libusb_device_handle* handle) {
  delete handle;
}

libusb_device* libusb_get_device(libusb_device_handle* handle) {
  return &handle->context->device;
}

int libusb_claim_interface(libusb_device_handle*, int) {
  return LIBUSB_SUCCESS;
}

int libusb_release_interface(libusb_device_handle*, int) {
  return LIBUSB_SUCCESS;
}

int libusb_set_auto_detach_kernel_driver(libusb_device_handle*, int) {
  return LIBUSB_SUCCESS;
}

int libusb_clear_halt(libusb_device_handle*, unsigned char) {
  return LIBUSB_SUCCESS;
}

// Only the halt of the stream endpoint is set by such a transfer, and nothing is halted here.
int libusb_control_transfer(libusb_device_handle* handle, std::uint8_t, std::uint8_t, std::uint16_t,
                            std::uint16_t, unsigned char*, std::uint16_t, unsigned) {
  return handle->camera->IsPluggedIn() ? 0 : LIBUSB_ERROR_NO_DEVICE;
}

int libusb_bulk_transfer(libusb_device_handle* handle, unsigned char endpoint, unsigned char* data,
                         int length, int* transferred, unsigned timeout) {
  const std::span buffer(data, static_cast<std::size_t>(length));
  std::size_t count = 0;
  UsbResult result = UsbResult::Done;
  if (endpoint == commandEndpoint) {
    result = handle->camera->SendCommand(buffer);
    count = result == UsbResult::Done ? buffer.size() : 0;
  } else if (endpoint == answerEndpoint) {
    result = handle->camera->ReceiveAnswer(buffer, count, deadline(timeout));
  } else if (endpoint == streamEndpoint) {
    result = handle->camera->ReceiveStream(buffer, count, deadline(timeout));
  } else {
    return LIBUSB_ERROR_NOT_FOUND;
  }
  if (transferred != nullptr) *transferred = static_cast<int>(count);
  return errorOf(result);
}

libusb_transfer* libusb_alloc_transfer(int) {
  return new libusb_transfer{};
}

void libusb_free_transfer(libusb_transfer* transfer) {
  delete transfer;
}

int libusb_submit_transfer(libusb_transfer* transfer) {
  libusb_device_handle& handle = *transfer->dev_handle;
  if (!handle.camera->IsPluggedIn()) return LIBUSB_ERROR_NO_DEVICE;
  const std::lock_guard lock(handle.context->mutex);
  handle.context->transfers.push_back({transfer});
  return LIBUSB_SUCCESS;
}

int libusb_cancel_transfer(libusb_transfer* transfer) {
  libusb_context& context = *transfer->dev_handle->context;
  const std::lock_guard lock(context.mutex);
  const auto found = std::ranges::find(context.transfers, transfer, &libusb_context::Transfer::transfer);
  if (found == context.transfers.end()) return LIBUSB_ERROR_NOT_FOUND;
  found->isCancelled = true;
  return LIBUSB_SUCCESS;
}

int libusb_handle_events_timeout(libusb_context* context, timeval* time) {
  const auto until =
      Clock::now() + std::chrono::seconds(time->tv_sec) + std::chrono::microseconds(time->tv_usec);
  do {
    tellOfRemoval(*context);
    const auto soon = std::min(until, Clock::now() + patience);
    if (!workOnTransfer(*context, soon)) std::this_thread::sleep_until(soon);
  } while (Clock::now() < until);
  return LIBUSB_SUCCESS;
}

int libusb_hotplug_register_callback(libusb_context* context, int, int, int, int, int,
                                     libusb_hotplug_callback_fn function, void* data,
                                     libusb_hotplug_callback_handle* handle) {
  const std::lock_guard lock(context->mutex);
  context->callbacks.push_back({++context->lastHandle, function, data, nullptr});
  if (handle != nullptr) *handle = context->lastHandle;
  return LIBUSB_SUCCESS;
}

void libusb_hotplug_deregister_callback(libusb_context* context, libusb_hotplug_callback_handle handle) {
  const std::lock_guard lock(context->mutex);
  std::erase_if(context->callbacks, [&](const auto& callback) { return callback.handle == handle; });
}

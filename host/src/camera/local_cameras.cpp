// SPDX-License-Identifier: MIT
// The only file of the host that sees the camera library: discovery, who controls a camera, what the library
// says, and the simulated camera inside this process. Cameras are driven through the adapter alone.
#include "camera/local_cameras.h"

#include <arv.h>
#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>

#include "brio/fnd/record.h"
#include "camera/gvcp.h"
#include "camera/program_path.h"
#include "terminal/console.h"
#include "terminal/failure.h"
#include "terminal/ipv4.h"

namespace vireo::host {
namespace {

std::string textOf(const char* text) {
  return text != nullptr ? text : "";
}

std::mutex firstMessageMutex;
std::string firstMessage;

std::string messageOf(const GLogField* fields, gsize count) {
  for (gsize i = 0; i < count; ++i) {
    if (std::string_view(fields[i].key) != "MESSAGE") continue;
    const auto* const text = static_cast<const char*>(fields[i].value);
    return fields[i].length < 0 ? std::string(text)
                                : std::string(text, static_cast<std::size_t>(fields[i].length));
  }
  return "";
}

// An assertion of the library says what failed behind a failure, not why.
void keepFirst(const std::string& message) {
  if (message.find("assertion '") != std::string::npos) return;
  const std::lock_guard lock(firstMessageMutex);
  if (firstMessage.empty()) firstMessage = message.substr(0, message.find_last_not_of(" \n") + 1);
}

GLogWriterOutput recordMessage(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer) {
  const std::string message = messageOf(fields, count);
  const bool grave = (level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL)) != 0;
  // Behind this message GLib aborts the process: nobody could say it later.
  if ((level & (G_LOG_LEVEL_ERROR | G_LOG_FLAG_FATAL)) != 0)
    PrintError(fmt::format("camera library: {}: the library ended the program", message));
  if (grave || (level & G_LOG_LEVEL_WARNING) != 0) keepFirst(message);
  if (grave) {
    BRIO_LOG_ERROR("camera library: {}", message);
  } else if ((level & G_LOG_LEVEL_WARNING) != 0) {
    BRIO_LOG_WARNING("camera library: {}", message);
  } else {
    BRIO_LOG_DEBUG("camera library: {}", message);
  }
  return G_LOG_WRITER_HANDLED;
}

}  // namespace

std::string SimulatedCameraDescription() {
  std::error_code ignored;
  const std::filesystem::path file =
      ProgramDirectory().parent_path() / "share" / "vireo-cam" / "simulated_camera.xml";
  if (!std::filesystem::exists(file, ignored)) {
    throw Failure(
        ExitStatus::Failed,
        fmt::format("the simulated camera's description {} is missing: install it again", file.string()));
  }
  return file.string();
}

void EnableSimulatedCamera() {
  arv_set_fake_camera_genicam_filename(SimulatedCameraDescription().c_str());
  arv_enable_interface("Fake");
}

void EnableNothingButSimulatedCamera() {
  for (unsigned i = 0; i < arv_get_n_interfaces(); ++i) arv_disable_interface(arv_get_interface_id(i));
  EnableSimulatedCamera();
}

std::vector<FoundCamera> FindCameras() {
  arv_update_device_list();
  std::vector<FoundCamera> cameras;
  for (unsigned i = 0; i < arv_get_n_devices(); ++i) {
    cameras.push_back({textOf(arv_get_device_id(i)), textOf(arv_get_device_vendor(i)),
                       textOf(arv_get_device_model(i)), textOf(arv_get_device_serial_nbr(i)),
                       textOf(arv_get_device_address(i)), textOf(arv_get_device_protocol(i))});
  }
  return cameras;
}

Controller ControllerOf(const std::string& address) {
  const std::unique_ptr<ArvDevice, void (*)(void*)> device(
      arv_open_device(address.empty() ? nullptr : address.c_str(), nullptr), g_object_unref);
  Controller controller;
  controller.answers = device != nullptr;
  controller.isOther =
      ARV_IS_GV_DEVICE(device.get()) && !arv_gv_device_is_controller(ARV_GV_DEVICE(device.get()));
  guint32 holder = 0;
  if (controller.isOther &&
      arv_device_read_register(device.get(), gvcp::primaryApplication, &holder, nullptr) && holder != 0)
    controller.address = Ipv4Text(holder);
  return controller;
}

void RecordLibraryMessages() {
  g_log_set_writer_func(recordMessage, nullptr, nullptr);
}

std::string FirstLibraryMessage() {
  const std::lock_guard lock(firstMessageMutex);
  return firstMessage;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
// The only file of the host that sees the camera library: discovery, who controls a camera, and the two
// simulated cameras. Cameras are driven through the adapter alone.
#include "local_cameras.h"

#include <arpa/inet.h>
#include <arv.h>
#include <fmt/format.h>
#include <ifaddrs.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "exit_status.h"

namespace vireo::host {
namespace {

std::string textOf(const char* text) {
  return text != nullptr ? text : "";
}

constexpr std::uint16_t controlPort = 3956;  // where GigE Vision cameras listen

/// The address of one of this computer's interfaces, given by that address or by the interface's name.
std::optional<sockaddr_in> findInterface(const std::string& interface) {
  const std::string_view wanted = interface == "localhost" ? "127.0.0.1" : std::string_view(interface);
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return std::nullopt;
  std::optional<sockaddr_in> found;
  for (const ifaddrs* entry = list; entry != nullptr && !found; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    sockaddr_in address{};
    std::memcpy(&address, entry->ifa_addr, sizeof address);
    char text[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    if (wanted == text || wanted == entry->ifa_name) found = address;
  }
  freeifaddrs(list);
  return found;
}

/// The camera library shares the port; two cameras on it would answer each other's commands.
bool portIsFree(sockaddr_in address) {
  address.sin_port = htons(controlPort);
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const bool isFree = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return isFree;
}

Failure cannotRun(const std::string& interface, const char* reason) {
  return Failure(ExitStatus::Failed, fmt::format("no camera can run on {}: {}", interface, reason));
}

}  // namespace

std::string SimulatedCameraDescription() {
  std::error_code ignored;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  const std::filesystem::path file =
      program.parent_path().parent_path() / "share" / "vireo-cam" / "simulated_camera.xml";
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

bool IsControlled(const std::string& address) {
  const std::unique_ptr<ArvDevice, void (*)(void*)> device(
      arv_open_device(address.empty() ? nullptr : address.c_str(), nullptr), g_object_unref);
  return ARV_IS_GV_DEVICE(device.get()) && !arv_gv_device_is_controller(ARV_GV_DEVICE(device.get()));
}

NetworkCamera::NetworkCamera(const std::string& interface, const std::string& serial,
                             double lostPerThousand) {
  const std::optional<sockaddr_in> address = findInterface(interface);
  if (!address) throw cannotRun(interface, "it is no interface of this computer; 'ip address' shows them");
  if (!portIsFree(*address))
    throw cannotRun(interface, "its port 3956 is taken, another camera may run there");
  char text[INET_ADDRSTRLEN];
  address_ = inet_ntop(AF_INET, &address->sin_addr, text, sizeof text);
  ArvGvFakeCamera* const camera =
      arv_gv_fake_camera_new_full(address_.c_str(), serial.c_str(), SimulatedCameraDescription().c_str());
  camera_ = camera;
  if (camera == nullptr || !arv_gv_fake_camera_is_running(camera)) {
    g_clear_object(&camera_);
    throw cannotRun(interface, "its network sockets cannot be opened");
  }
  g_object_set(camera, "gvsp-lost-ratio", lostPerThousand / 1000.0, nullptr);
}

NetworkCamera::~NetworkCamera() {
  g_object_unref(camera_);
}

}  // namespace vireo::host

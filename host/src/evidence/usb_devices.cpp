// SPDX-License-Identifier: MIT
#include "evidence/usb_devices.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace vireo::host {
namespace {

constexpr const char* devices = "sys/bus/usb/devices";
// The class codes of the standard's interfaces.
constexpr const char* miscellaneousClass = "ef";
constexpr const char* visionSubclass = "05";

// Interfaces are folders beside the device's, named DEVICE:CONFIGURATION.INTERFACE.
bool isCamera(const SystemFiles& files, const std::vector<std::string>& names, const std::string& device) {
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    const std::string folder = fmt::format("{}/{}", devices, name);
    return name.starts_with(device + ":") && files.Text(folder + "/bInterfaceClass") == miscellaneousClass &&
           files.Text(folder + "/bInterfaceSubClass") == visionSubclass;
  });
}

UsbCamera cameraIn(const SystemFiles& files, const std::string& device) {
  const auto text = [&](const char* name) {
    return files.Text(fmt::format("{}/{}/{}", devices, device, name));
  };
  UsbCamera camera{text("idVendor"),
                   text("idProduct"),
                   text("product"),
                   text("serial"),
                   NumberFrom<std::int64_t>(text("speed")),
                   "",
                   0,
                   false};
  const std::string node = fmt::format("dev/bus/usb/{:03}/{:03}", NumberFrom<int>(text("busnum")).value_or(0),
                                       NumberFrom<int>(text("devnum")).value_or(0));
  camera.node = "/" + node;
  struct stat status {};
  if (stat(files.Path(node).c_str(), &status) == 0) camera.mode = status.st_mode & 0777;
  camera.writable = access(files.Path(node).c_str(), R_OK | W_OK) == 0;
  return camera;
}

}  // namespace

std::vector<UsbCamera> UsbCameras(const SystemFiles& files) {
  std::vector<UsbCamera> cameras;
  const std::vector<std::string> names = files.Names(devices);
  for (const std::string& name : names)
    if (name.find(':') == std::string::npos && isCamera(files, names, name))
      cameras.push_back(cameraIn(files, name));
  return cameras;
}

std::optional<std::int64_t> UsbMemoryMegabytes(const SystemFiles& files) {
  return files.NumberIn<std::int64_t>("sys/module/usbcore/parameters/usbfs_memory_mb");
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "camera/camera_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <future>

#include "camera/gige_cameras.h"
#include "terminal/ipv4.h"

namespace vireo::host {
namespace {

constexpr const char* gigeProtocol = "GigEVision";  // as the camera library calls it

std::string adviceFor(const GigeCamera& camera) {
  if (camera.IsNear()) return "";
  return fmt::format("{} at {} is in another subnet than {} ({}) and cannot be opened: {}",
                     MacText(camera.mac), camera.network.Text(), camera.port.interface,
                     camera.port.network.Text(), AddressAdvice(camera));
}

// What a camera has answered, to what the camera library has found.
void addAnswer(std::vector<ListedCamera>& cameras, const GigeCamera& answer) {
  const std::string address = Ipv4Text(answer.network.address);
  auto camera = std::find_if(cameras.begin(), cameras.end(), [&](const ListedCamera& known) {
    return known.found.address == address && known.found.serial == answer.serial;
  });
  if (camera == cameras.end()) {
    const FoundCamera alone = {MacText(answer.mac), answer.vendor, answer.model,
                               answer.serial,       address,       gigeProtocol};
    camera = cameras.insert(cameras.end(), ListedCamera{alone});
  }
  camera->interface = answer.port.interface;
  camera->mac = MacText(answer.mac);
  camera->firmware = answer.version;
  camera->advice = adviceFor(answer);
  if (!answer.IsNear()) return;
  camera->control = ControlText(answer.network.address);
  if (camera->control.empty())
    camera->advice =
        fmt::format("{} at {} did not answer when asked who controls it", MacText(answer.mac), address);
}

}  // namespace

std::vector<ListedCamera> ListCameras() {
  // Both wait a second for answers.
  std::future<std::vector<GigeCamera>> answering = std::async(std::launch::async, FindGigeCameras);
  std::vector<ListedCamera> cameras;
  for (const FoundCamera& found : FindCameras()) cameras.push_back({found});
  for (const GigeCamera& answer : answering.get()) addAnswer(cameras, answer);
  return cameras;
}

}  // namespace vireo::host

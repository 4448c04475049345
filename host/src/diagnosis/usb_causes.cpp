// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>

#include "diagnosis/causes.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

constexpr double usableShare = 0.8;  // of a link's bits, after the bus's own
constexpr double libraryBuffers = 10;
constexpr std::int64_t superSpeed = 5000;  // megabits a second

std::string nameOf(const UsbCamera& camera) {
  return fmt::format("{} {} ({}:{})", camera.product, camera.serial, camera.vendorId, camera.productId);
}

bool isUsb(const Facts& facts) {
  return facts.link == LinkKind::Usb || facts.link == LinkKind::Unknown;
}

std::optional<Verdict> access(const Facts& facts) {
  const auto closed = std::find_if(facts.usbCameras.begin(), facts.usbCameras.end(),
                                   [](const UsbCamera& camera) { return !camera.writable; });
  if (!isUsb(facts) || facts.reception || closed == facts.usbCameras.end()) return {};
  return Verdict{"usb-access",
                 "This user may not open the USB camera",
                 {fmt::format("{} is {} with mode {:04o}", nameOf(*closed), closed->node, closed->mode)},
                 {fmt::format("write into /etc/udev/rules.d/70-camera.rules: SUBSYSTEM==\"usb\", "
                              "ATTR{{idVendor}}==\"{}\", MODE=\"0666\"",
                              closed->vendorId),
                  "then: udevadm control --reload && udevadm trigger, or plug it in again"},
                 ExitStatus::NoCamera};
}

std::optional<Verdict> notOpened(const Facts& facts) {
  if (facts.link != LinkKind::Unknown || facts.usbCameras.empty() || access(facts)) return {};
  return Verdict{"usb-busy",
                 "The USB camera is there and may be opened, but the camera library does not find it",
                 {nameOf(facts.usbCameras.front())},
                 {"end the program that has it, or plug it in again"},
                 ExitStatus::NoCamera};
}

std::optional<Verdict> speed(const Facts& facts) {
  if (facts.link != LinkKind::Usb || facts.usbCameras.empty() || !facts.reception ||
      !facts.settings.payloadBytes)
    return {};
  const UsbCamera& camera = facts.usbCameras.front();
  const double asked = facts.AskedRate() * *facts.settings.payloadBytes * 8e-6;
  if (!camera.megabits || asked <= usableShare * static_cast<double>(*camera.megabits)) return {};
  const bool isOld = *camera.megabits < superSpeed;
  return Verdict{
      "bandwidth",
      "The settings ask for more frames than the USB link carries",
      {fmt::format("{:.3g} frames/s of {:.0f} bytes are {:.0f} Mb/s", facts.AskedRate(),
                   *facts.settings.payloadBytes, asked),
       fmt::format("the link has {} Mb/s{}", *camera.megabits,
                   isOld ? ": that of a USB 2 port or cable" : ", of which 80 % carry pictures"),
       CameAtRateText(*facts.reception)},
      {isOld ? "plug it into a USB 3 port with a USB 3 cable"
             : CommandText(facts, fmt::format("set {}={:.3g}", facts.settings.frameRateName,
                                              0.9 * usableShare * static_cast<double>(*camera.megabits) /
                                                  (*facts.settings.payloadBytes * 8e-6)))}};
}

std::optional<Verdict> memory(const Facts& facts) {
  if (facts.link != LinkKind::Usb || !facts.reception || !facts.LacksFrames()) return {};
  const double limit = static_cast<double>(facts.usbMemoryMegabytes.value_or(0)) * (1 << 20);
  const double needed = libraryBuffers * facts.settings.payloadBytes.value_or(0.0);
  if (limit == 0.0 || needed <= limit) return {};
  return Verdict{"usb-memory",
                 "The system gives USB transfers less memory than the frames need",
                 {fmt::format("usbfs_memory_mb is {}; {:.0f} frames of {:.1f} MB are {:.0f} MB",
                              *facts.usbMemoryMegabytes, libraryBuffers,
                              facts.settings.payloadBytes.value_or(0.0) / 1e6, needed / 1e6),
                  CameText(*facts.reception)},
                 {"echo 1000 > /sys/module/usbcore/parameters/usbfs_memory_mb"}};
}

}  // namespace

std::vector<Cause> UsbCauses() {
  return {access, notOpened, speed, memory};
}

}  // namespace vireo::host

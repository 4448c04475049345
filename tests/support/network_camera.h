// SPDX-License-Identifier: MIT
#pragma once

#include <arv.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>

/// Lets exactly one kind of camera be found, so that nothing is looked for anywhere else: the network one by
/// its address, the in-process one by its id. An open camera is not affected.
inline void useCamera(const std::string& address) {
  const bool network = address != "Fake_1";
  arv_disable_interface("USB3Vision");
  (network ? arv_enable_interface : arv_disable_interface)("GigEVision");
  (network ? arv_disable_interface : arv_enable_interface)("Fake");
}

/// A GigE Vision camera on the loopback address, in this process. Destroying it is pulling its plug: it says
/// nothing any more. Only one can run on a computer, its control port is fixed.
class NetworkCamera {
 public:
  static constexpr const char* address = "127.0.0.1";

  NetworkCamera() {
    for (int attempt = 0; !portIsFree(); ++attempt) {
      if (attempt == 300) throw std::runtime_error("port 3956 of 127.0.0.1 stays in use: another camera?");
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    camera_ = arv_gv_fake_camera_new_full(address, "1", VIREO_SIMULATED_CAMERA);
    if (!arv_gv_fake_camera_is_running(camera_)) throw std::runtime_error("no camera runs on 127.0.0.1");
  }
  ~NetworkCamera() { g_object_unref(camera_); }
  NetworkCamera(const NetworkCamera&) = delete;
  NetworkCamera& operator=(const NetworkCamera&) = delete;

  /// A part of the stream's packets from 0 to 1 that is never sent.
  void losePackets(double ratio) { g_object_set(camera_, "gvsp-lost-ratio", ratio, nullptr); }
  void takeControlAway() { arv_fake_camera_set_control_channel_privilege(sensor(), 0); }
  /// Behind the back of whoever has control.
  void setRegister(std::uint32_t where, std::uint32_t value) {
    arv_fake_camera_write_register(sensor(), where, value);
  }

 private:
  // A second camera on a port in use starts without a complaint and takes the first one's packets.
  static bool portIsFree() {
    const int probe = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in control{};
    control.sin_family = AF_INET;
    control.sin_port = htons(3956);
    control.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool isFree = bind(probe, reinterpret_cast<const sockaddr*>(&control), sizeof control) == 0;
    close(probe);
    return isFree;
  }
  ArvFakeCamera* sensor() { return arv_gv_fake_camera_get_fake_camera(camera_); }

  ArvGvFakeCamera* camera_ = nullptr;
};

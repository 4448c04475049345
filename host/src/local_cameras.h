// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vireo::host {

/// The address of the simulated camera inside this process.
inline constexpr const char* simulatedCameraAddress = "Fake_1";

struct FoundCamera {
  std::string id;
  std::string vendor;
  std::string model;
  std::string serial;
  std::string address;
  std::string protocol;
};

/// The description of the simulated camera: simulated_camera.xml in the share folder beside the program's
/// own. Throws Failure when it is missing.
std::string SimulatedCameraDescription();

/// Makes the simulated camera available to everything in this process, the adapter included.
void EnableSimulatedCamera();

/// Asks every interface and USB port who is there; takes about a second.
std::vector<FoundCamera> FindCameras();

/// Whether another program holds the control of a GigE Vision camera; `address` as the adapter takes it.
bool IsControlled(const std::string& address);

/// A GigE Vision camera on one of this computer's interfaces, for as long as the object lives.
class NetworkCamera {
 public:
  /// `interface` is an IP address, an interface name or "localhost"; `lostPerThousand` stream packets are
  /// dropped. Throws Failure when the interface does not exist or has a camera already.
  NetworkCamera(const std::string& interface, const std::string& serial, double lostPerThousand);
  NetworkCamera(const NetworkCamera&) = delete;
  NetworkCamera& operator=(const NetworkCamera&) = delete;
  ~NetworkCamera();

  /// The IP address of its interface.
  const std::string& Address() const { return address_; }

 private:
  std::string address_;
  void* camera_ = nullptr;  // ArvGvFakeCamera, one reference
};

}  // namespace vireo::host

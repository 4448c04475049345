// SPDX-License-Identifier: MIT
#pragma once

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

/// Makes it the only one, whatever cameras of the network may be called.
void EnableNothingButSimulatedCamera();

/// Asks every interface and USB port who is there; takes about a second.
std::vector<FoundCamera> FindCameras();

/// Who holds the control of a camera.
struct Controller {
  bool answers = false;  ///< whether the camera is there at all
  bool isOther = false;  ///< another program does; only GigE Vision cameras tell
  std::string address;   ///< of that program's computer; empty when the camera does not say
};

/// `address` as the adapter takes it.
Controller ControllerOf(const std::string& address);

/// From here on what the camera library says goes into the log, and nothing of it to the terminal.
void RecordLibraryMessages();

/// The first warning or worse of the camera library, which explains a failure best; empty when there was
/// none. Any thread.
std::string FirstLibraryMessage();

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
// The adapter against a simulated camera whose answers and packets go wrong: late, lost, cut, doubled,
// changed or plain garbage, on the wire that the first byte chooses. The bytes behind it become a fault
// script, which is left in the file `answers_script.txt`: with it `vireo-cam simulate --faults` or
// VIREO_USB_FAULTS play the same faults again.
#include <arv.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "simulator/gige/gige_camera.h"
#include "simulator/usb/usb_bus.h"
#include "vireo/genicam/adapter.h"

// A camera can state any size: without memory the adapter refuses to start.
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

using namespace vireo;
using simulator::ByteView;

constexpr std::size_t bytesPerStep = 4;
constexpr std::size_t mostSteps = 6;
constexpr const char* scriptFile = "answers_script.txt";

// Nothing that waits for seconds: a camera that is silent for good is tried without a fuzzer.
std::string faultText(std::uint8_t kind, std::uint8_t value) {
  switch (kind % 10) {
    case 0:
      return "status " + std::to_string(value % 2 == 0 ? 0x8000 + value : value);
    case 1:
      return "short";
    case 2:
      return "oversized";
    case 3:
      return "duplicate";
    case 4:
      return "wrong-id";
    case 5:
      return "late " + std::to_string(value % 8);
    case 6:
      return "garbage";
    default:
      return "mutated " + std::to_string(1 + value % 6);
  }
}

// Steps strike single members, so that a session goes on behind them.
std::string scriptOf(ByteView input) {
  std::string script = "seed " + std::to_string(input.size());
  std::size_t member = 0;
  for (std::size_t step = 0; step < mostSteps && input.size() >= bytesPerStep; ++step) {
    const bool isPacket = input[0] % 4 == 0;
    member = isPacket ? 1u + input[1] % 24u : member + 1u + input[1];
    script += (isPacket ? "; packet " : "; command ") + std::to_string(member) + ' ' +
              faultText(input[2], input[3]);
    input = input.subspan(bytesPerStep);
  }
  return script;
}

// The camera of one run; on USB the stand-in for libusb shows it.
class Camera {
 public:
  Camera(bool isUsb, const std::string& script) {
    if (isUsb) {
      simulator::PlugUsbCameraIn(VIREO_SIMULATED_CAMERA, script.c_str());
      return;
    }
    model_.emplace(simulator::ReadDescription(VIREO_SIMULATED_CAMERA, true), simulator::CameraIdentity{});
    simulator::GigeOptions options;
    options.faults = script;
    wire_.emplace(*model_, options);
  }
  ~Camera() { simulator::UnplugUsbCamera(); }
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

 private:
  std::optional<simulator::CameraModel> model_;
  std::optional<simulator::GigeCamera> wire_;
};

void showOnly(bool isUsb) {
  (isUsb ? arv_enable_interface : arv_disable_interface)("USB3Vision");
  (isUsb ? arv_disable_interface : arv_enable_interface)("GigEVision");
  arv_disable_interface("Fake");
}

template <typename Operation>
bool succeeds(const Operation& operation) {
  try {
    operation();
  } catch (const std::runtime_error&) {
    return false;
  }
  return true;
}

common::Parameter valueOf(const char* name, common::ParameterValue value) {
  common::Parameter parameter;
  parameter.name = name;
  parameter.value = std::move(value);
  return parameter;
}

void receive(genicam::GenICamAdapter& adapter) {
  constexpr int calls = 4;
  std::array<std::uint8_t, 64 * 64> memory{};
  std::span<std::uint8_t> buffer(memory);
  common::FrameInfo info;
  bool received = false;
  for (int i = 0; i < calls; ++i) adapter.ReceiveFrame(received, 0, buffer, info);
}

void runSession(bool isUsb) {
  genicam::GenICamAdapter adapter;
  adapter.Initialise({isUsb ? "FEED00000001" : "127.0.0.1", 0.5});
  if (!succeeds([&] { adapter.Connect(); })) return;
  const std::vector<common::Parameter> settings = {valueOf("Width", 64), valueOf("Height", 64),
                                                   valueOf("ExposureTime", 100.0),
                                                   valueOf("AcquisitionFrameRate", 1000.0)};
  succeeds([&] { adapter.Write(settings); });
  succeeds([&] {
    adapter.Read(std::vector<std::string>{"Gain", "PixelFormat", "DeviceUserID", "ReverseX"});
  });
  if (succeeds([&] { adapter.StartAcquisition({}); })) receive(adapter);
  succeeds([&] { adapter.Scan(); });
  adapter.CheckConnection();
  adapter.StopAcquisition();
  adapter.Disconnect();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView input(data, size);
  if (size <= bytesPerStep) return 0;
  const bool isUsb = input[0] % 8 != 0;
  const std::string script = scriptOf(input.subspan(1));
  std::ofstream(scriptFile) << (isUsb ? "usb: " : "gige: ") << script << '\n';
  showOnly(isUsb);
  const Camera camera(isUsb, script);
  runSession(isUsb);
  return 0;
}

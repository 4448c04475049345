// SPDX-License-Identifier: MIT
// soak [MINUTES]: connects, scans, writes, acquires, stops and disconnects in a loop, on the in-process
// camera, on a GigE Vision camera on the loopback address and on a USB3 Vision camera in place of libusb,
// with packet loss on these two switched on and off. Ends with status 1 when memory, threads or descriptors
// grow, or when an operation fails.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <iostream>
#include <vector>

#include "simulator/usb/usb_bus.h"
#include "support/network_camera.h"
#include "support/process_use.h"
#include "support/simulated_camera.h"

namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

constexpr int framesPerCycle = 25;
// From the second third of the run to the last one, on the average. Caches fill during the first third; what
// they still take in a short run stays below this.
constexpr double allowedHeapGrowth = 48 * 1024;
constexpr double allowedResidentGrowth = 512 * 1024;

// Counts the records of frames that came incomplete, and keeps nothing.
class LossCounter final : public brio::fnd::Logger {
 public:
  LossCounter() {
    threshold = brio::fnd::loglevel::Debug;
    brio::fnd::SetLogger(this);
  }
  ~LossCounter() override { brio::fnd::SetLogger(nullptr); }
  void Record(std::int32_t, const std::string& text) override {
    if (text.find("recycling") != std::string::npos) ++lost;
  }
  void Record(const std::string&) override {}
  std::atomic<long> lost{0};
};

class Soak {
 public:
  Soak() { vireo::simulator::PlugUsbCameraIn(VIREO_SIMULATED_CAMERA, ""); }
  void cycle() {
    const bool losing = cycles_ % 2 == 1;
    network_.losePackets(losing ? 0.01 : 0.0);
    vireo::simulator::SetUsbCameraFaults(losing ? "packet 5% lost" : "");
    grab(NetworkCamera::address, losing);
    grab("Fake_1", false);
    grab(usbCameraGuid, losing);
    ++cycles_;
  }
  void print(double minutes) const {
    std::printf("%7.2f min %7ld cycles %9ld frames %7ld lost  ", minutes, cycles_, frames_,
                loss_.lost.load());
    std::cout << ProcessUse::now() << std::endl;
  }

 private:
  void grab(const char* address, bool losing) {
    OpenAdapter adapter(address, 2.0);
    useCamera(address);
    adapter.Connect();
    adapter.Write({makeParameter("Width", 256), makeParameter("Height", 128), makeParameter("Gain", 1.0),
                   makeParameter("AcquisitionFrameRate", 100.0)});
    if (adapter.Scan().empty()) throw std::runtime_error("an empty scan");
    adapter.StartAcquisition({});
    const int got = receive(adapter, memory_, info_, framesPerCycle, 4 * framesPerCycle);
    if (!losing && got < framesPerCycle) {
      throw std::runtime_error("only " + std::to_string(got) + " frames from " + address);
    }
    frames_ += got;
    adapter.StopAcquisition();
    adapter.Disconnect();
  }

  LossCounter loss_;
  NetworkCamera network_;
  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(1 << 20);
  vireo::common::FrameInfo info_;
  long cycles_ = 0;
  long frames_ = 0;
};

// The mean of one figure over the n-th third of the run.
double meanOf(const std::vector<ProcessUse>& run, std::ptrdiff_t ProcessUse::*figure, std::size_t third) {
  const std::size_t length = run.size() / 3;
  double sum = 0.0;
  for (std::size_t i = 0; i < length; ++i) sum += static_cast<double>(run[third * length + i].*figure);
  return sum / static_cast<double>(length);
}

bool grown(const char* what, const std::vector<ProcessUse>& run, std::ptrdiff_t ProcessUse::*figure,
           double allowed) {
  const double before = meanOf(run, figure, 1);
  const double after = meanOf(run, figure, 2);
  std::cout << "soak: " << what << " from " << before << " to " << after << '\n';
  if (after <= before + allowed) return false;
  std::cerr << "soak: " << what << " grew by " << after - before << ", allowed are " << allowed << '\n';
  return true;
}

int run(double minutes) {
  const auto begun = steady_clock::now();
  const auto elapsed = [&] { return duration<double, std::ratio<60>>(steady_clock::now() - begun).count(); };
  const double interval = std::min(1.0, minutes / 30.0);
  Soak soak;
  std::vector<ProcessUse> uses;
  while (elapsed() < minutes || uses.size() < 3) {
    const double next = elapsed() + interval;
    do soak.cycle();
    while (elapsed() < next);
    soak.print(elapsed());
    uses.push_back(ProcessUse::now());
  }
  std::cout << std::fixed << std::setprecision(0);
  bool failed = grown("threads", uses, &ProcessUse::threads, 0.0);
  failed |= grown("descriptors", uses, &ProcessUse::descriptors, 0.0);
  failed |= grown("allocated bytes", uses, &ProcessUse::heap, allowedHeapGrowth);
  failed |= grown("resident bytes", uses, &ProcessUse::resident, allowedResidentGrowth);
  std::cout << (failed ? "soak: FAILED" : "soak: nothing grew") << std::endl;
  return failed ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  char* end = nullptr;
  const double minutes = argc == 2 ? std::strtod(argv[1], &end) : 30.0;
  if (argc > 2 || (end != nullptr && *end != '\0') || !(minutes > 0.0)) {
    std::cerr << "usage: soak [MINUTES]   (default 30)\n";
    return 2;
  }
  try {
    return run(minutes);
  } catch (const std::exception& error) {
    std::cerr << "soak: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}

// SPDX-License-Identifier: MIT
#include "frame_stream.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>
#include <span>

#include "interrupt.h"

namespace vireo::host {
namespace {

constexpr std::chrono::milliseconds progressPeriod(100);

/// Stops the acquisition when it goes out of scope.
class RunningAcquisition {
 public:
  RunningAcquisition(Camera& camera, std::optional<long> frames) : camera_(camera) {
    const std::lock_guard control(camera.Control());
    camera.Adapter().StartAcquisition(frames);
  }
  RunningAcquisition(const RunningAcquisition&) = delete;
  RunningAcquisition& operator=(const RunningAcquisition&) = delete;
  ~RunningAcquisition() {
    const std::lock_guard control(camera_.Control());
    common::AdapterBase& adapter = camera_.Adapter();
    if (adapter.GetAcquisitionState().mode != common::AcquisitionMode::Stopped) adapter.StopAcquisition();
  }

 private:
  Camera& camera_;
};

}  // namespace

std::size_t FrameBytes(Camera& camera) {
  std::int64_t payload = 0;
  if (camera.Catalogue().contains("PayloadSize")) {
    const common::Parameter parameter = camera.Adapter().Read("PayloadSize");
    if (const int* const bytes = std::get_if<int>(&parameter.value)) payload = *bytes;
  }
  if (payload > 0) return static_cast<std::size_t>(payload);
  return static_cast<std::size_t>(camera.Adapter().GetBasicParams().frameSize);
}

void FrameStream::Run(const Sink& sink) {
  buffer_.resize(FrameBytes(camera_));
  const HostLogger::FrameFaults before = camera_.Log().Faults();
  started_ = lastFrame_ = lastProgress_ = Clock::now();
  const bool counted = options_.frames > 0;
  RunningAcquisition running(camera_, counted ? std::optional<long>(options_.frames) : std::nullopt);
  try {
    while (!finished()) {
      receive(sink);
      statistics_.SetFaults(before, camera_.Log().Faults());
      showProgress();
    }
  } catch (...) {
    if (progress_) progress_(statistics_);
    throw;
  }
  if (progress_) progress_(statistics_);
}

bool FrameStream::finished() const {
  if (enough_ || Interrupted()) return true;
  if (options_.frames > 0 && statistics_.Frames() >= static_cast<std::uint64_t>(options_.frames)) return true;
  return options_.seconds &&
         std::chrono::duration<double>(Clock::now() - started_).count() >= *options_.seconds;
}

void FrameStream::receive(const Sink& sink) {
  bool received = false;
  common::FrameInfo info;
  std::span<std::uint8_t> room(buffer_);
  camera_.Adapter().ReceiveFrame(received, 0, room, info);
  if (!received) {
    waited();
    return;
  }
  lastFrame_ = Clock::now();
  statistics_.AddFrame(info.frameId, info.size, lastFrame_);
  enough_ = !sink(info, buffer_);
}

void FrameStream::waited() {
  camera_.CheckLink();
  buffer_.resize(std::max<std::size_t>(buffer_.size(), camera_.Log().Faults().largestBytes));
  const std::chrono::duration<double> silence = Clock::now() - lastFrame_;
  if (options_.patience > 0.0 && silence.count() >= options_.patience) throw Silence();
}

Failure FrameStream::Silence() const {
  const double seconds = std::chrono::duration<double>(Clock::now() - lastFrame_).count();
  const std::uint64_t bad = statistics_.Faults().Bad();
  if (bad != 0) {
    return Failure(
        ExitStatus::Failed,
        fmt::format("no good frame for {:.1f} s, but {} bad ones ('vireo-cam watch' shows why): lower the "
                    "frame rate or GevSCPSPacketSize, check the network",
                    seconds, bad));
  }
  return Failure(
      ExitStatus::Failed,
      fmt::format("no frame for {:.1f} s: with TriggerMode On a camera waits for its trigger; otherwise the "
                  "stream does not get through (firewall, packet size), or the camera was found over the "
                  "wrong interface: open it by its IP address",
                  seconds));
}

void FrameStream::showProgress() {
  const Clock::time_point now = Clock::now();
  if (!progress_ || now - lastProgress_ < progressPeriod) return;
  lastProgress_ = now;
  progress_(statistics_);
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "camera/stream.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>
#include <span>
#include <utility>

#include "camera/packets.h"
#include "terminal/interrupt.h"

namespace vireo::host {
namespace {

constexpr std::chrono::milliseconds progressPeriod(100);
constexpr double silenceShownAfter = 1.0;  // seconds
constexpr std::chrono::seconds badShownFor(2);
constexpr double longestExposure = 1e6;             // seconds that are believed
constexpr std::chrono::seconds askedAgainAfter(1);  // and after twice the exposure

// Stops the acquisition when it goes out of scope.
class RunningAcquisition {
 public:
  // Without a count: a truncated frame, which the adapter would count, does not count here.
  explicit RunningAcquisition(Camera& camera) : camera_(camera) {
    const std::lock_guard control(camera.Control());
    camera.Adapter().StartAcquisition(std::nullopt);
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

// Bytes that one frame takes, as the camera states it.
std::size_t frameBytes(Camera& camera) {
  std::int64_t payload = 0;
  if (camera.Catalogue().contains("PayloadSize")) {
    const common::Parameter parameter = camera.Adapter().Read("PayloadSize");
    if (const int* const bytes = std::get_if<int>(&parameter.value)) payload = *bytes;
  }
  if (payload > 0) return static_cast<std::size_t>(payload);
  return static_cast<std::size_t>(camera.Adapter().GetBasicParams().frameSize);
}

}  // namespace

void FrameStream::Run(const Sink& sink) {
  const bool isFirst = !faultsBefore_;
  begin();
  const RunningAcquisition running(camera_);
  // A slow camera takes a minute to start: that is neither a silence nor a part of the seconds.
  lastFrame_ = lastProgress_ = Clock::now();
  if (isFirst) started_ = lastFrame_;
  try {
    while (!enough_ && !Interrupted() && !IsComplete() && !(options_.enough && options_.enough())) {
      requests_.Next();
      const bool received = receive(sink);
      countFaults();
      if (!received) waited();
      showProgress();
    }
  } catch (...) {
    end();
    throw;
  }
  end();
}

void FrameStream::begin() {
  buffer_.resize(frameBytes(camera_));
  pixelFormat_ = PixelFormatOf(camera_);
  const std::chrono::duration<double> exposure(
      std::clamp(camera_.Adapter().GetBasicParams().exposureTime, 0.0, longestExposure));
  requests_.Begin(askedAgainAfter + std::chrono::duration_cast<Clock::duration>(2 * exposure));
  lastFrame_ = lastProgress_ = Clock::now();
  if (!faultsBefore_) started_ = lastFrame_;
  if (!faultsBefore_) faultsBefore_ = camera_.Log().Faults();
  statistics_.BeginAgain();
}

// A bad frame has come, too.
void FrameStream::countFaults() {
  const auto bad = [&] { return statistics_.Bad() + statistics_.Faults().oversized; };
  const std::uint64_t before = bad();
  statistics_.SetFaults(*faultsBefore_, camera_.Log().Faults());
  if (bad() != before) requests_.Came();
}

void FrameStream::end() {
  statistics_.End(started_, Clock::now());
  if (progress_) progress_(*this);
}

bool FrameStream::IsComplete() const {
  if (options_.frames > 0 && statistics_.Frames() >= static_cast<std::uint64_t>(options_.frames)) return true;
  return options_.seconds &&
         std::chrono::duration<double>(Clock::now() - started_).count() >= *options_.seconds;
}

bool FrameStream::EndedEarly() const {
  return (options_.frames > 0 || options_.seconds) && !IsComplete();
}

// Width or height are 0 when the packet that tells them was lost.
bool FrameStream::isWhole(const common::FrameInfo& info) const {
  if (pixelFormat_.BitsPerPixel() == 0) return true;
  return info.width > 0 && info.height > 0 && info.size >= pixelFormat_.ImageBytes(info);
}

// Whether a good frame came.
bool FrameStream::receive(const Sink& sink) {
  bool received = false;
  common::FrameInfo info;
  std::span<std::uint8_t> room(buffer_);
  camera_.Adapter().ReceiveFrame(received, 0, room, info);
  if (!received) return false;
  if (!isWhole(info)) {
    statistics_.AddTruncated();
    requests_.Came();
    return false;
  }
  lastFrame_ = Clock::now();
  requests_.Came();
  badBefore_ = statistics_.Bad();
  const bool resumes = statistics_.IsLost();
  statistics_.AddFrame(info.frameId, info.size, lastFrame_);
  if (resumes && resumed_) resumed_(statistics_.EndedOutages().latest);
  enough_ = !sink(info, buffer_);
  return true;
}

void FrameStream::waited() {
  camera_.CheckLink();
  buffer_.resize(std::max<std::size_t>(buffer_.size(), statistics_.Faults().largestBytes));
  // Only when a bad frame came just now: a camera that says nothing any more would not answer.
  const bool bad = std::exchange(badSeen_, statistics_.Bad()) != statistics_.Bad();
  if (bad) lastBad_ = Clock::now();
  if (bad && packetFacts_.empty() && silentSeconds() >= silenceShownAfter) {
    const std::lock_guard control(camera_.Control());
    packetFacts_ = PacketFacts(camera_);
  }
  if (options_.patience > 0.0 && silentSeconds() >= options_.patience) throw SilenceFailure();
}

// A camera that went mute after bad frames is mute.
std::uint64_t FrameStream::badOnes() const {
  return Clock::now() - lastBad_ < badShownFor ? statistics_.Bad() - badBefore_ : 0;
}

double FrameStream::silentSeconds() const {
  return std::chrono::duration<double>(Clock::now() - requests_.WaitingSince(lastFrame_)).count();
}

std::string FrameStream::Silence() const {
  return silentSeconds() < silenceShownAfter ? "" : silenceText("{:.0f}");
}

std::string FrameStream::silenceText(const char* secondsFormat) const {
  const std::string seconds = fmt::format(fmt::runtime(secondsFormat), silentSeconds());
  if (badOnes() == 0) return fmt::format("no frame for {} s", seconds);
  return fmt::format("no good frame for {} s, but {} bad{}{}", seconds, badOnes(),
                     packetFacts_.empty() ? "" : ": ", packetFacts_);
}

Failure FrameStream::SilenceFailure() const {
  const std::string advice =
      badOnes() != 0
          ? "lower the frame rate or GevSCPSPacketSize, check the network ('vireo-cam watch' counts what is "
            "wrong)"
          : "with TriggerMode On a camera waits for its trigger; otherwise the stream does not get through "
            "(firewall, packet size), or the camera was found over the wrong interface: open it by its IP "
            "address";
  return Failure(ExitStatus::Incomplete, fmt::format("{}; {}", silenceText("{:.1f}"), advice));
}

void FrameStream::showProgress() {
  const Clock::time_point now = Clock::now();
  if (!progress_ || now - lastProgress_ < progressPeriod) return;
  lastProgress_ = now;
  progress_(*this);
}

}  // namespace vireo::host

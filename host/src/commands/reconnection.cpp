// SPDX-License-Identifier: MIT
#include "commands/reconnection.h"

#include <fmt/format.h>

#include <chrono>
#include <exception>
#include <mutex>
#include <thread>

#include "parameters/setting_differences.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

using Clock = std::chrono::steady_clock;

// The camera library's heartbeat notices in a second that the camera does not know this program any more, and
// in five that it does not answer.
constexpr std::chrono::seconds strangerNoticedWithin(2);
constexpr std::chrono::seconds silenceNoticedWithin(6);
constexpr std::chrono::milliseconds pause(50);
constexpr std::chrono::milliseconds betweenTries(300);

bool isLost(const Camera& camera) {
  try {
    camera.CheckLink();
    return false;
  } catch (const Failure&) {
    return true;
  }
}

std::string namesOf(const std::vector<Difference>& differences) {
  std::vector<std::string> names;
  for (const Difference& difference : differences) names.push_back(difference.key);
  return fmt::format("{}", fmt::join(names, ", "));
}

}  // namespace

Reconnection::Reconnection(Camera& camera, bool wanted) : camera_(camera) {
  if (wanted) settings_ = SettingsOf(camera, false).settings;
}

void Reconnection::Run(FrameStream& stream, const std::function<void()>& receive,
                       const std::function<void()>& renew) {
  stream.OnResumed([](double seconds) {
    PrintError(fmt::format("note: frames come again, after {:.2f} s without", seconds));
  });
  for (bool lost = false;;) {
    try {
      if (lost) {
        connect(stream);
        restore();
        renew();
        lost = false;
      }
      receive();
      // Frames that were missing at the end, and a stop that took long: the loss may be certain only now.
      if (Interrupted() || stream.EndedEarly() || stream.FinalSilence() > 0.0) camera_.CheckLink();
      return;
    } catch (const std::exception& error) {
      const bool isHurried = Interrupted() && !isLost(camera_);
      if (!IsWanted() || isHurried || !isLoss(error)) throw;
      stream.AddLoss();
      if (Interrupted() || stream.IsComplete()) throw;
    }
    if (!lost)
      PrintError(fmt::format("note: the link to the camera is lost: connecting to {} again until Ctrl-C",
                             camera_.IdentityAtStart()));
    lost = true;
  }
}

// An access fails some seconds before the loss is certain.
bool Reconnection::isLoss(const std::exception& error) {
  const auto* const failure = dynamic_cast<const Failure*>(&error);
  if (failure != nullptr && failure->status != ExitStatus::Failed)
    return failure->status == ExitStatus::LinkLost;
  bool answers = false;
  try {
    answers = !camera_.Values({"Width", "DeviceModelName"}).empty();
  } catch (const Failure&) {  // lost meanwhile
    return true;
  }
  const auto end = Clock::now() + (answers ? strangerNoticedWithin : silenceNoticedWithin);
  while (!isLost(camera_) && !Interrupted() && Clock::now() < end) std::this_thread::sleep_for(pause);
  return isLost(camera_);
}

void Reconnection::connect(const FrameStream& stream) {
  while (!camera_.Reconnect()) {
    if (Interrupted() || stream.IsComplete())
      throw Failure(ExitStatus::LinkLost,
                    "the link to the camera is lost, and was not there again at the end");
    std::this_thread::sleep_for(betweenTries);
  }
}

void Reconnection::restore() {
  const std::lock_guard control(camera_.Control());
  if (Compare(camera_, *settings_).empty()) return;
  const std::vector<Difference> differences = Apply(camera_, *settings_);
  if (differences.empty()) return;
  PrintError(fmt::format("note: the camera is there again, but {} not as before: {}",
                         differences.size() == 1 ? "a setting is" : "some settings are",
                         namesOf(differences)));
}

void AddReconnectOption(CLI::App* command, bool& reconnect) {
  command->add_flag("--reconnect", reconnect,
                    "After a loss of the link connect again until Ctrl-C, restore the settings and go on");
}

}  // namespace vireo::host

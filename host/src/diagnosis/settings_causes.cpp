// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>

#include "diagnosis/causes.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

constexpr double muchSlower = 0.9;  // of the rate that is set; less is not chance

// Whether the stream's packets reach the interface: frames that are not taken there come from elsewhere.
bool streamArrives(const Facts& facts) {
  const Reception& reception = *facts.reception;
  const double frames = std::max(0.3 * facts.AskedRate() * reception.countedSeconds, 1.0);
  return facts.link == LinkKind::Gige && facts.WireBytesOfFrame() > 0.0 &&
         static_cast<double>(reception.interface.bytes) > frames * facts.WireBytesOfFrame();
}

std::optional<Verdict> trigger(const Facts& facts) {
  if (!facts.reception || facts.settings.triggers.empty() || facts.reception->Came() != 0 ||
      streamArrives(facts))
    return {};
  Verdict verdict{"trigger", "The camera waits for a trigger", {}, {}};
  bool isSoftware = false;
  for (const ActiveTrigger& trigger : facts.settings.triggers) {
    const std::string at =
        trigger.selector.empty() ? "" : fmt::format("[TriggerSelector={}]", trigger.selector);
    const std::string choose =
        trigger.selector.empty() ? "" : fmt::format("TriggerSelector={} ", trigger.selector);
    verdict.evidence.push_back(fmt::format("TriggerMode{} is On, TriggerSource is {}", at, trigger.source));
    verdict.todo.push_back("to let it run freely: " +
                           CommandText(facts, fmt::format("set {}TriggerMode=Off", choose)));
    SelectorValues selected;
    if (!trigger.selector.empty()) selected = {{"TriggerSelector", trigger.selector}};
    verdict.remedies.push_back({"TriggerMode", "Off", selected});
    isSoftware = isSoftware || trigger.source == "Software";
  }
  verdict.evidence.push_back(CameText(*facts.reception));
  verdict.todo.push_back(isSoftware ? "or fire it: " + CommandText(facts, "run TriggerSoftware")
                                    : "or check that the signal reaches that input");
  return verdict;
}

std::optional<Verdict> singleFrame(const Facts& facts) {
  if (!facts.reception || facts.settings.acquisitionMode != "SingleFrame" || facts.reception->Came() != 1)
    return {};
  return Verdict{"single-frame",
                 "The camera takes one frame and stops",
                 {"AcquisitionMode is SingleFrame", CameText(*facts.reception)},
                 {CommandText(facts, "set AcquisitionMode=Continuous")}};
}

std::optional<Verdict> frameCount(const Facts& facts) {
  if (!facts.reception || facts.settings.acquisitionMode != "MultiFrame" || !facts.settings.frameCount)
    return {};
  const Reception& reception = *facts.reception;
  const double count = *facts.settings.frameCount;
  const auto came = static_cast<double>(reception.Came() + reception.lost);
  const double wanted = facts.AskedRate() * reception.seconds;
  // What came short of the count was lost on the way, which is another cause.
  if (reception.Came() == 0 || came > count || came < 0.5 * count || wanted < count + 1.5) return {};
  return Verdict{"frame-count",
                 fmt::format("The camera stops after {}", Counted(count, "frame")),
                 {fmt::format("AcquisitionMode is MultiFrame, AcquisitionFrameCount is {}", count),
                  fmt::format("{}, {:.0f} at the rate that is set", CameText(reception), wanted)},
                 {CommandText(facts, "set AcquisitionMode=Continuous")}};
}

std::optional<Verdict> exposure(const Facts& facts) {
  const CameraSettings& settings = facts.settings;
  if (!facts.reception || !settings.exposureSeconds) return {};
  const Reception& reception = *facts.reception;
  const double longest = settings.frameRate && *settings.frameRate > 0.0 ? 1.0 / *settings.frameRate : 1.0;
  const double time = *settings.exposureSeconds;
  const bool isAsSlow = static_cast<double>(reception.frames) <= 1.15 * reception.seconds / time + 1.0;
  if (time <= 1.05 * longest || !isAsSlow) return {};
  Verdict verdict{"exposure",
                  "The exposure takes longer than a frame's time, and decides the rate",
                  {fmt::format("{} is {:.0f} us, which allows {:.3g} frames/s", settings.exposureName,
                               time * 1e6, 1.0 / time),
                   CameAtRateText(reception)},
                  {CommandText(facts, fmt::format("set {}={:.0f}", settings.exposureName, longest * 0.9e6))}};
  if (settings.frameRate)
    verdict.evidence.insert(verdict.evidence.begin() + 1,
                            fmt::format("{} is {:.3g}/s, {:.0f} us a frame", settings.frameRateName,
                                        *settings.frameRate, longest * 1e6));
  return verdict;
}

std::optional<Verdict> frameRate(const Facts& facts) {
  if (!facts.reception || !facts.settings.frameRate) return {};
  const double rate = *facts.settings.frameRate;
  if (rate * facts.reception->seconds >= 2.0 || facts.reception->Came() > 2) return {};
  const std::string period =
      rate > 0.0 ? fmt::format("one frame in {:.3g} s", 1.0 / rate) : "no frame at all";
  return Verdict{"frame-rate",
                 fmt::format("The frame rate is set to {:.3g}/s", rate),
                 {fmt::format("{} is {:.3g}: {}", facts.settings.frameRateName, rate, period),
                  CameText(*facts.reception)},
                 {CommandText(facts, fmt::format("set {}=10", facts.settings.frameRateName))}};
}

std::optional<Verdict> throughputLimit(const Facts& facts) {
  const CameraSettings& settings = facts.settings;
  if (!facts.reception || !settings.throughputLimit || !settings.payloadBytes) return {};
  const double asked = facts.AskedRate() * *settings.payloadBytes;
  if (asked <= *settings.throughputLimit || facts.reception->rate > muchSlower * facts.AskedRate()) return {};
  Verdict verdict{"throughput-limit",
                  "The camera's throughput limit holds frames back",
                  {fmt::format("DeviceLinkThroughputLimit is {:.1f} MB/s", *settings.throughputLimit / 1e6),
                   fmt::format("{:.3g} frames/s of {:.0f} bytes need {:.1f} MB/s", facts.AskedRate(),
                               *settings.payloadBytes, asked / 1e6),
                   CameAtRateText(*facts.reception)},
                  {}};
  if (asked > facts.LinkBytes()) {
    verdict.evidence.push_back(fmt::format(
        "the link carries {:.1f} MB/s: without the limit frames would be lost", facts.LinkBytes() / 1e6));
    verdict.todo = {CommandText(facts, fmt::format("set {}={:.3g}", settings.frameRateName,
                                                   *settings.throughputLimit / *settings.payloadBytes))};
    return verdict;
  }
  verdict.remedies = {settings.hasThroughputMode
                          ? Remedy{"DeviceLinkThroughputLimitMode", "Off", {}}
                          : Remedy{"DeviceLinkThroughputLimit", fmt::format("{:.0f}", asked * 1.1), {}}};
  verdict.todo = {CommandText(
      facts, fmt::format("set {}={}", verdict.remedies.front().name, verdict.remedies.front().value))};
  return verdict;
}

}  // namespace

std::vector<Cause> SettingsCauses() {
  return {trigger, singleFrame, frameCount, exposure, frameRate, throughputLimit};
}

}  // namespace vireo::host

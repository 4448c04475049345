// SPDX-License-Identifier: MIT
#include "diagnosis/causes.h"

#include <fmt/format.h>

#include "terminal/text.h"

namespace vireo::host {
namespace {

std::vector<Cause> streamCauses() {
  std::vector<Cause> all = SettingsCauses();
  for (const auto& causes : {PacketCauses(), AnswerCauses(), UsbCauses()})
    all.insert(all.end(), causes.begin(), causes.end());
  return all;
}

}  // namespace

std::string CameText(const Reception& reception) {
  return fmt::format("{}, {} bad{}, {} lost in {:.1f} s", Counted(reception.frames, "frame"), reception.bad,
                     reception.badKinds.empty() ? "" : fmt::format(" ({})", reception.badKinds),
                     reception.lost, reception.seconds);
}

std::string CameAtRateText(const Reception& reception) {
  return CameText(reception) + (reception.frames > 1 ? fmt::format(", {:.3g} frames/s", reception.rate) : "");
}

std::string CommandText(const Facts& facts, const std::string& arguments) {
  return fmt::format("vireo-cam {}{}", facts.option, arguments);
}

std::vector<Verdict> Diagnose(const Facts& facts) {
  std::vector<Verdict> verdicts;
  for (const auto& group : {PathCauses(), SilenceCauses(), LinkCauses(), streamCauses(), LastCauses()}) {
    for (const Cause cause : group)
      if (auto verdict = cause(facts)) verdicts.push_back(*std::move(verdict));
    if (!verdicts.empty()) break;
  }
  return verdicts;
}

}  // namespace vireo::host

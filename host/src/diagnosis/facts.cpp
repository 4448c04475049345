// SPDX-License-Identifier: MIT
#include "diagnosis/facts.h"

#include <algorithm>
#include <cmath>

namespace vireo::host {
namespace {

constexpr double packetHeaders = 36;     // IP, UDP and stream header, of 16-bit ids
constexpr double ethernetOverhead = 38;  // header, check sum, preamble and gap
constexpr double leaderAndTrailer = 2;

}  // namespace

double AnswerTimes::Median() const {
  if (milliseconds.empty()) return 0.0;
  std::vector<double> sorted = milliseconds;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  return *middle;
}

double AnswerTimes::Longest() const {
  return milliseconds.empty() ? 0.0 : *std::max_element(milliseconds.begin(), milliseconds.end());
}

double Facts::PacketsOfFrame() const {
  const auto size =
      reception && reception->during.packetSize ? reception->during.packetSize : registers.packetSize;
  if (!settings.payloadBytes || !size || *size <= packetHeaders) return 0.0;
  return std::ceil(*settings.payloadBytes / (*size - packetHeaders)) + leaderAndTrailer;
}

double Facts::WireBytesOfFrame() const {
  return settings.payloadBytes.value_or(0.0) + PacketsOfFrame() * (packetHeaders + ethernetOverhead);
}

double Facts::AskedRate() const {
  double rate = settings.frameRate.value_or(0.0);
  if (settings.exposureSeconds && rate * *settings.exposureSeconds > 1.0)
    rate = 1.0 / *settings.exposureSeconds;
  return rate;
}

bool Facts::LacksFrames() const {
  if (!reception) return true;
  const double wanted = std::max(AskedRate() * reception->seconds, 1.0);
  return reception->bad + reception->lost > 0 || static_cast<double>(reception->frames) < 0.5 * wanted;
}

double Facts::LinkBytes() const {
  const double here = path.interface.megabits ? static_cast<double>(*path.interface.megabits) : INFINITY;
  return std::min(here, settings.linkMegabits.value_or(INFINITY)) / 8e-6;
}

double Facts::ExpectedPackets() const {
  const double seconds = reception ? reception->countedSeconds : 0.0;
  return std::max(AskedRate() * seconds, 1.0) * PacketsOfFrame();
}

double Facts::ArrivedPackets() const {
  if (!reception) return 0.0;
  const double others =
      static_cast<double>(reception->answers.milliseconds.size()) + reception->countedSeconds;
  return std::max(static_cast<double>(reception->interface.packets) - others, 0.0);
}

double Facts::Requests() const {
  if (!reception || path.interface.name == "lo") return 0.0;
  const AnswerTimes& times = reception->answers;
  const double commands = static_cast<double>(times.milliseconds.size()) + times.unanswered + 1 +
                          reception->countedSeconds * (1 + reception->othersDatagrams);
  const std::int64_t sent = std::min(reception->protocols.datagramsSent, reception->interface.sentPackets);
  return std::max(static_cast<double>(sent) - commands, 0.0);
}

bool Facts::LacksPackets() const {
  constexpr double least = 20;
  constexpr double share = 0.01;  // of the packets that should have come
  return LacksFrames() || Requests() >= std::max(least, share * ExpectedPackets());
}

}  // namespace vireo::host

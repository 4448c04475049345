// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>

#include "diagnosis/causes.h"

namespace vireo::host {
namespace {

constexpr double lateAnswer = 50.0;     // milliseconds, of the median; a quiet network needs less than one
constexpr double libraryBeat = 1000.0;  // milliseconds between the library's signs of life

std::string heartbeatCommand(const Facts& facts, double milliseconds) {
  return CommandText(facts, fmt::format("set {}={:.0f}", facts.settings.heartbeatName,
                                        milliseconds * facts.settings.heartbeatUnits));
}

std::optional<Verdict> heartbeat(const Facts& facts) {
  if (facts.link != LinkKind::Gige || !facts.reception || !facts.registers.heartbeatTimeout) return {};
  const Reception& reception = *facts.reception;
  const double timeout = *facts.registers.heartbeatTimeout;
  const double silence = libraryBeat + std::max(facts.answers.Longest(), reception.answers.Longest());
  if (!reception.linkLost || !reception.answersAfter || timeout > silence) return {};
  return Verdict{
      "heartbeat",
      "The camera gives up its controller before the next sign of life can come",
      {fmt::format("heartbeat time-out {:.0f} ms; the library shows itself every {:.0f} ms, answers take up "
                   "to {:.1f} ms",
                   timeout, libraryBeat, silence - libraryBeat),
       "the control was lost while receiving"},
      {heartbeatCommand(facts, 3000)},
      ExitStatus::LinkLost};
}

std::optional<Verdict> linkLost(const Facts& facts) {
  if (!facts.reception || heartbeat(facts)) return {};
  const Reception& reception = *facts.reception;
  if (!reception.linkLost && reception.answersAfter) return {};
  Verdict verdict{
      "link-lost",
      "The link to the camera was lost while receiving",
      {CameText(reception)},
      {"check cable, plug and power of the camera; a camera that starts anew is back after a while"},
      ExitStatus::LinkLost};
  if (!reception.failure.empty()) verdict.evidence.push_back(reception.failure);
  if (!reception.hasLinkAfter) verdict.evidence.push_back(facts.path.interface.name + " has no link now");
  if (!reception.answersAfter) verdict.evidence.emplace_back("it does not answer any more");
  return verdict;
}

std::optional<Verdict> failed(const Facts& facts) {
  if (!facts.reception || facts.reception->failure.empty() || linkLost(facts) || heartbeat(facts)) return {};
  return Verdict{"failed",
                 "Receiving failed",
                 {facts.reception->failure, CameText(*facts.reception)},
                 {CommandText(facts, "--log debug watch --seconds 3") + " shows what led to it"},
                 ExitStatus::Failed};
}

std::optional<Verdict> lateAnswers(const Facts& facts) {
  if (facts.link != LinkKind::Gige) return {};
  AnswerTimes all = facts.answers;
  if (facts.reception) {
    const AnswerTimes& later = facts.reception->answers;
    all.milliseconds.insert(all.milliseconds.end(), later.milliseconds.begin(), later.milliseconds.end());
    all.unanswered += later.unanswered;
  }
  if (all.Median() < lateAnswer) return {};
  const std::uint32_t timeout = facts.registers.heartbeatTimeout.value_or(0);
  Verdict verdict{
      "late-answers",
      fmt::format("The camera answers late, after {:.0f} ms", all.Median()),
      {fmt::format("{} answers: median {:.0f} ms, longest {:.0f} ms, {} not answered; the library asks again "
                   "after 500 ms and gives up after five times",
                   all.milliseconds.size(), all.Median(), all.Longest(), all.unanswered)},
      {"end what else talks to the camera or fills the link, and look for a switch that saves energy",
       "connect the camera directly; when it stays, the camera's firmware is slow"}};
  if (!facts.reception)
    verdict.evidence.emplace_back("no frames were asked for: opening the camera takes hundreds of answers");
  if (timeout != 0 && timeout < libraryBeat + 2 * all.Longest()) {
    verdict.evidence.push_back(
        fmt::format("the heartbeat time-out, {} ms, is shorter than its delays", timeout));
    verdict.todo.push_back(heartbeatCommand(facts, 10000));
  }
  return verdict;
}

}  // namespace

std::vector<Cause> LinkCauses() {
  return {heartbeat, linkLost, failed};
}

std::vector<Cause> AnswerCauses() {
  return {lateAnswers};
}

}  // namespace vireo::host

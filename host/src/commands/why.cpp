// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "camera/camera.h"
#include "commands/commands.h"
#include "diagnosis/camera_settings.h"
#include "diagnosis/causes.h"
#include "diagnosis/receiving.h"
#include "diagnosis/remedies.h"
#include "diagnosis/survey.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

struct WhyOptions {
  double seconds = 3.0;
  bool json = false;
  bool fix = false;
};

constexpr double tooLate = 200.0;  // milliseconds; opening a camera takes hundreds of answers

bool canReceive(const Facts& facts) {
  if (facts.link == LinkKind::Unknown || facts.isBusy) return false;
  return facts.link != LinkKind::Gige || (facts.path.answers && facts.answers.Median() < tooLate);
}

// The library may have changed the packet size to what arrives; who did not ask for that gets the old one
// back.
void restorePacketSize(Camera& camera, const Facts& facts) {
  const auto& before = facts.registers.packetSize;
  if (!before || facts.reception->linkLost || facts.reception->during.packetSize.value_or(*before) == *before)
    return;
  std::vector<Verdict> old(1);
  old.front().remedies = {{"GevSCPSPacketSize", fmt::format("{}", *before), {}}};
  Apply(camera, old);
}

std::string healthyText(const Facts& facts) {
  const Reception& reception = *facts.reception;
  const std::string answers =
      facts.answers.milliseconds.empty()
          ? ""
          : fmt::format("; commands are answered after {:.2f} ms", facts.answers.Median());
  return fmt::format("healthy: {} in {:.1f} s, {:.2f} frames/s, none lost, none bad{}\n",
                     Counted(reception.frames, "frame"), reception.seconds, reception.rate, answers);
}

void print(const std::vector<Verdict>& verdicts, const Facts& facts, bool json) {
  if (json) return Print(JsonText(VerdictsJson(verdicts)));
  Print(verdicts.empty() ? healthyText(facts) : VerdictsText(verdicts));
}

std::vector<Verdict> receiveAndDiagnose(Camera& camera, Facts& facts, const SystemFiles& files,
                                        double seconds) {
  facts.settings = SettingsOf(camera);
  facts.reception = Receive(camera, facts, files, seconds);
  return Diagnose(facts);
}

// Sets what mends the causes, each noting what was done, and looks again.
std::vector<Verdict> fixAndLookAgain(Camera& camera, std::vector<Verdict>& verdicts, Facts& facts,
                                     const SystemFiles& files, double seconds) {
  Apply(camera, verdicts);
  const auto isAboutSize = [](const Verdict& verdict) { return verdict.cause == "packet-size"; };
  if (std::any_of(verdicts.begin(), verdicts.end(), isAboutSize)) {
    GvcpClient client(facts.path.address);
    facts.registers = ReadRegisters(client, std::chrono::seconds(1), facts.answers);
  }
  return receiveAndDiagnose(camera, facts, files, seconds);
}

bool canBeFixed(const std::vector<Verdict>& verdicts, const Facts& facts) {
  return !facts.reception->linkLost &&
         std::any_of(verdicts.begin(), verdicts.end(),
                     [](const Verdict& verdict) { return !verdict.remedies.empty(); });
}

ExitStatus statusOf(const std::vector<Verdict>& verdicts) {
  return verdicts.empty() ? ExitStatus::Done : verdicts.front().status;
}

ExitStatus whyNot(const Facts& facts, bool json) {
  const std::vector<Verdict> verdicts = Diagnose(facts);
  print(verdicts, facts, json);
  return statusOf(verdicts);
}

ExitStatus look(Camera& camera, Facts& facts, const SystemFiles& files, const WhyOptions& options) {
  std::vector<Verdict> verdicts = receiveAndDiagnose(camera, facts, files, options.seconds);
  if (!options.fix || !canBeFixed(verdicts, facts)) {
    restorePacketSize(camera, facts);
    print(verdicts, facts, options.json);
    return statusOf(verdicts);
  }
  const std::vector<Verdict> after = fixAndLookAgain(camera, verdicts, facts, files, options.seconds);
  restorePacketSize(camera, facts);
  print(verdicts, facts, options.json);
  if (!options.json) {
    Print("\nafter that:\n");
    print(after, facts, false);
  }
  return statusOf(after);
}

ExitStatus why(const CommandLine& line, const WhyOptions& options) {
  CatchInterrupts();
  const SystemFiles files;
  Facts facts = Survey(line.camera, files);
  if (!canReceive(facts)) return whyNot(facts, options.json);
  std::optional<Camera> camera;
  try {
    camera.emplace(line.camera, Use::Stream);
  } catch (const Failure&) {
    if (Diagnose(facts).empty()) throw;
    return whyNot(facts, options.json);
  }
  return look(*camera, facts, files, options);
}

}  // namespace

void AddWhyCommand(CommandLine& line) {
  const auto options = std::make_shared<WhyOptions>();
  CLI::App* const command =
      line.AddCommand("why", "Say why no frames come, or not all: cause, evidence, what to do",
                      [&line, options] { return why(line, *options); });
  command->add_option("--seconds", options->seconds, "Time to receive for")
      ->check(Number(1.0, 3600.0))
      ->type_name("S")
      ->capture_default_str();
  command->add_flag("--json", options->json, "Print a list of the causes as JSON");
  command->add_flag(
      "--fix", options->fix,
      "Set on the camera what takes a cause away and is safe (packet size, trigger off, throughput "
      "limit), say what was set, and look again");
}

}  // namespace vireo::host

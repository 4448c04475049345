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
#include "parameters/writer.h"
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
constexpr std::chrono::milliseconds registerPatience(1000);

bool canReceive(const Facts& facts) {
  if (facts.link == LinkKind::Unknown || facts.isBusy) return false;
  return facts.link != LinkKind::Gige || (facts.path.answers && facts.answers.Median() < tooLate);
}

// The library changes the packet size to what arrives. Who did not ask for that gets the old one back,
// however the look ends.
class PacketSizeKeeper {
 public:
  PacketSizeKeeper(Camera& camera, const Facts& facts) : camera_(camera), facts_(facts) {}
  PacketSizeKeeper(const PacketSizeKeeper&) = delete;
  PacketSizeKeeper& operator=(const PacketSizeKeeper&) = delete;
  ~PacketSizeKeeper() {
    const auto& before = facts_.registers.packetSize;
    if (facts_.link != LinkKind::Gige || !before) return;
    const auto now = GvcpClient(facts_.path.address).Read(gvcp::streamPacketSize, registerPatience).value;
    if (!now || (*now & 0xffff) == *before) return;
    try {
      const common::Parameter& like = camera_.Catalogue().at("GevSCPSPacketSize");
      const std::string reason = ParameterWriter(camera_).TryWrite(
          ParseValue(like, fmt::format("{}", *before), FormOf(camera_.Features(), like)));
      if (!reason.empty()) throw Failure(ExitStatus::Failed, reason);
    } catch (const std::exception& error) {
      PrintError(fmt::format("note: GevSCPSPacketSize is not {} again: {}", *before, error.what()));
    }
  }

 private:
  Camera& camera_;
  const Facts& facts_;
};

std::string healthyText(const Facts& facts) {
  const Reception& reception = *facts.reception;
  const std::string answers =
      facts.answers.milliseconds.empty()
          ? ""
          : fmt::format("; commands are answered after {:.2f} ms", facts.answers.Median());
  return fmt::format("healthy: {} in {:.1f} s, {:.2f} frames/s, none lost, none bad{}\n",
                     Counted(reception.frames, "frame"), reception.seconds, reception.rate, answers);
}

void print(const std::vector<Verdict>& verdicts, const Facts& facts) {
  Print(verdicts.empty() ? healthyText(facts) : VerdictsText(verdicts));
}

void requireNoInterrupt(const char* what) {
  if (Interrupted()) throw Failure(ExitStatus::Failed, what);
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
    facts.registers = ReadRegisters(client, registerPatience, facts.answers);
  }
  return receiveAndDiagnose(camera, facts, files, seconds);
}

bool canBeFixed(const std::vector<Verdict>& verdicts) {
  return std::any_of(verdicts.begin(), verdicts.end(),
                     [](const Verdict& verdict) { return !verdict.remedies.empty(); });
}

ExitStatus statusOf(const std::vector<Verdict>& verdicts) {
  return verdicts.empty() ? ExitStatus::Done : verdicts.front().status;
}

// One look; with --fix a second one where something could be mended.
ExitStatus show(const std::vector<Verdict>& verdicts, const Facts& facts, const WhyOptions& options) {
  if (!options.json) {
    print(verdicts, facts);
  } else if (options.fix) {
    Print(JsonText({{"causes", VerdictsJson(verdicts)}, {"after", nullptr}}));
  } else {
    Print(JsonText(VerdictsJson(verdicts)));
  }
  return statusOf(verdicts);
}

// What was written is told whatever comes of the second look.
ExitStatus fix(Camera& camera, std::vector<Verdict>& verdicts, Facts& facts, const SystemFiles& files,
               const WhyOptions& options) {
  const Facts before = facts;
  const std::vector<Verdict> after = fixAndLookAgain(camera, verdicts, facts, files, options.seconds);
  if (options.json) {
    const Json second = Interrupted() ? Json() : VerdictsJson(after);
    Print(JsonText({{"causes", VerdictsJson(verdicts)}, {"after", second}}));
  } else {
    print(verdicts, before);
  }
  requireNoInterrupt("interrupted before it was known whether that helped");
  if (!options.json) {
    Print("\nafter that:\n");
    print(after, facts);
  }
  return statusOf(after);
}

ExitStatus look(Camera& camera, Facts& facts, const SystemFiles& files, const WhyOptions& options) {
  const PacketSizeKeeper keeper(camera, facts);
  std::vector<Verdict> verdicts = receiveAndDiagnose(camera, facts, files, options.seconds);
  requireNoInterrupt("interrupted before there was an answer");
  if (options.fix && canBeFixed(verdicts)) return fix(camera, verdicts, facts, files, options);
  return show(verdicts, facts, options);
}

ExitStatus why(const CommandLine& line, const WhyOptions& options) {
  CatchInterrupts();
  const SystemFiles files;
  Facts facts = Survey(line.camera, files);
  if (!canReceive(facts)) return show(Diagnose(facts), facts, options);
  std::optional<Camera> camera;
  try {
    camera.emplace(line.camera, Use::Stream);
  } catch (const Failure& failure) {
    if (Interrupted()) throw;
    facts.notOpened = failure;
    return show(Diagnose(facts), facts, options);
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

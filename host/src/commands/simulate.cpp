// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <memory>
#include <optional>
#include <regex>

#include "camera/local_cameras.h"
#include "commands/commands.h"
#include "simulator/gige/gige_camera.h"
#include "simulator/model/registers.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"

namespace vireo::host {
namespace {

struct SimulateOptions {
  simulator::GigeOptions camera;
  std::string serial = "SIM01";
  std::string description;  // empty: the simulated camera's own
  double rate = 25.0;
  std::string size = "512x512";
  double lost = 0.0;  // of a thousand, as the next two
  double reordered = 0.0;
  double duplicate = 0.0;
  std::int64_t lateMilliseconds = 0;
  std::string faults;
  std::optional<std::int64_t> seed;
};

constexpr std::size_t resendMemory = 8 << 20;
constexpr std::size_t longestSerial = 15;  // the register holds 16 bytes with the end

// The options for single faults, and the script, as one script.
std::string faultLine(const SimulateOptions& options) {
  std::string line = options.faults;
  const bool hasSeed = line.find("seed") != line.npos;
  if (hasSeed && options.seed)
    throw Failure(ExitStatus::WrongUsage, "--faults has a seed of its own: leave --seed out");
  const auto add = [&](const std::string& step) { line += (line.empty() ? "" : "; ") + step; };
  if (options.lateMilliseconds != 0) add(fmt::format("command 1- late {}", options.lateMilliseconds));
  const std::pair<double, const char*> shares[] = {
      {options.lost, "lost"}, {options.reordered, "reordered"}, {options.duplicate, "duplicate"}};
  for (const auto& [perThousand, fault] : shares)
    if (perThousand > 0.0) add(fmt::format("packet {}% {}", perThousand / 10.0, fault));
  if (!hasSeed && !line.empty()) add(fmt::format("seed {}", options.seed.value_or(1)));
  return line;
}

// The start values of the settings that options name; bounds are those of any client.
void applySettings(simulator::CameraModel& model, const SimulateOptions& options) {
  std::smatch size;
  if (!std::regex_match(options.size, size, std::regex("([0-9]{1,4})x([0-9]{1,4})")))
    throw Failure(ExitStatus::WrongUsage, fmt::format("--size takes WIDTHxHEIGHT, not '{}'", options.size));
  const auto set = [&](std::uint64_t address, std::uint32_t value, const char* what) {
    simulator::Bytes bytes(4);
    simulator::WriteNumber<std::endian::big>(bytes, 0, value);
    if (model.Write(address, bytes) != simulator::Status::Success)
      throw Failure(ExitStatus::WrongUsage, fmt::format("the camera cannot be {}", what));
  };
  const std::string what = fmt::format("{} pixels large: 8 to 2048, in steps of 8", options.size);
  set(simulator::reg::width, static_cast<std::uint32_t>(std::stoul(size[1])), what.c_str());
  set(simulator::reg::height, static_cast<std::uint32_t>(std::stoul(size[2])), what.c_str());
  const auto period = static_cast<std::uint32_t>(1e6 / options.rate + 0.5);
  set(simulator::reg::framePeriod, period, "that fast");
  // An exposure that is longer than the period would decide the rate.
  if (period < model.Register(simulator::reg::exposureTime))
    set(simulator::reg::exposureTime, std::max(period, 10u), "that fast");
}

ExitStatus simulate(SimulateOptions options) {
  const bool isOurs = options.description.empty();
  const std::string file = isOurs ? SimulatedCameraDescription() : options.description;
  simulator::CameraModel model(simulator::ReadDescription(file, isOurs), {.serial = options.serial});
  if (isOurs) applySettings(model, options);
  options.camera.faults = faultLine(options);
  options.camera.resendMemory = resendMemory;
  CatchInterrupts();
  const simulator::GigeCamera camera(model, options.camera);
  Print(fmt::format(
      "ready: GigE Vision camera {0} on {1}; try 'vireo-cam --address {1} info'; Ctrl-C ends it\n",
      options.serial, camera.Address()));
  if (!options.camera.faults.empty()) Print(fmt::format("faults: {}\n", options.camera.faults));
  WaitForInterrupt();
  return ExitStatus::Done;
}

}  // namespace

void AddSimulateCommand(CommandLine& line) {
  const auto options = std::make_shared<SimulateOptions>();
  CLI::App* const command =
      line.AddCommand("simulate", "Be a GigE Vision camera on a network interface until Ctrl-C",
                      [options] { return simulate(*options); });
  const auto perThousand = [&](const char* name, double& value, const char* what) {
    command->add_option(name, value, what)->type_name("PER_THOUSAND")->check(Number(0.0, 1000.0));
  };
  command
      ->add_option("-i,--interface", options->camera.interface,
                   "Interface to answer on, by its address or name")
      ->type_name("ADDRESS")
      ->capture_default_str();
  command->add_option("--serial", options->serial, "Serial number of the camera")
      ->check(CLI::Validator(
          [](const std::string& text) {
            return !text.empty() && text.size() <= longestSerial
                       ? ""
                       : fmt::format("takes 1 to {} characters, not '{}'", longestSerial, text);
          },
          ""))
      ->capture_default_str();
  command->add_option("--rate", options->rate, "Frames per second at the start")
      ->type_name("HZ")
      ->check(Number(0.1, 100000.0))
      ->capture_default_str();
  command->add_option("--size", options->size, "Size of the picture at the start, in pixels")
      ->type_name("WxH")
      ->capture_default_str();
  perThousand("--lost", options->lost, "Stream packets to drop, of a thousand; resent ones arrive");
  perThousand("--reorder", options->reordered, "Stream packets to send after the one behind them");
  perThousand("--duplicate", options->duplicate, "Stream packets to send twice");
  command->add_option("--late", options->lateMilliseconds, "Answer every command so much later")
      ->type_name("MS")
      ->check(WholeNumber(0, 60000));
  command->add_option("--mtu", options->camera.mtu, "Drop stream packets that are larger")
      ->type_name("BYTES")
      ->check(WholeNumber(0, 65535));
  command
      ->add_option("--faults", options->faults, "Faults by step, such as 'command 3 lost; packet 9- late 5'")
      ->type_name("SCRIPT");
  command->add_option("--seed", options->seed, "What chance begins with: the same seed, the same faults")
      ->check(WholeNumber(0, 1'000'000'000))
      ->default_str("1");
  command->add_flag("--extended-ids", options->camera.extendedIds,
                    "Number frames with 64 bits instead of 16");
  const std::string ownSettings[] = {"--rate", "--size"};
  CLI::Option* const description =
      command
          ->add_option(
              "--description", options->description,
              "Serve this GenICam description; all its registers are memory, and nothing is streamed")
          ->type_name("FILE");
  for (const std::string& setting : ownSettings) description->excludes(setting);
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <memory>

#include "../console.h"
#include "../interrupt.h"
#include "../local_cameras.h"
#include "commands.h"

namespace vireo::host {
namespace {

struct SimulateOptions {
  std::string interface = "127.0.0.1";
  std::string serial = "SIM01";
  double lostPerThousand = 0.0;
};

constexpr std::size_t longestSerial = 15;  // the register holds 16 bytes with the end

ExitStatus simulate(const SimulateOptions& options) {
  CatchInterrupts();
  const NetworkCamera camera(options.interface, options.serial, options.lostPerThousand);
  Print(fmt::format(
      "ready: GigE Vision camera {0} on {1}; try 'vireo-cam --address {1} info'; Ctrl-C ends it\n",
      options.serial, camera.Address()));
  WaitForInterrupt();
  return ExitStatus::Done;
}

}  // namespace

void AddSimulateCommand(CommandLine& line) {
  const auto options = std::make_shared<SimulateOptions>();
  CLI::App* const command =
      line.AddCommand("simulate", "Be a GigE Vision camera on a network interface until Ctrl-C",
                      [options] { return simulate(*options); });
  command->add_option("-i,--interface", options->interface, "Interface to answer on, by its address or name")
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
  command->add_option("--lost", options->lostPerThousand, "Stream packets to drop, of a thousand")
      ->type_name("PER_THOUSAND")
      ->check(Number(0.0, 1000.0));
}

}  // namespace vireo::host

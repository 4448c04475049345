// SPDX-License-Identifier: MIT
#include "commands/command_line.h"

#include <fmt/format.h>

#include <algorithm>

#include "camera/logger.h"
#include "terminal/numbers.h"

namespace vireo::host {
namespace {

template <typename T>
CLI::Validator within(T min, T max, const char* kind) {
  const auto check = [=](const std::string& text) -> std::string {
    const std::optional<T> number = NumberFrom<T>(text);
    if (number && *number >= min && *number <= max) return "";
    return fmt::format("takes a {} from {} to {}, not '{}'", kind, min, max, text);
  };
  return CLI::Validator(check, "");
}

}  // namespace

CLI::Validator WholeNumber(std::int64_t min, std::int64_t max) {
  return within(min, max, "whole number");
}

CLI::Validator Number(double min, double max) {
  return within(min, max, "number");
}

CLI::Validator OneOf(const std::vector<std::string>& words) {
  const auto check = [words](const std::string& text) -> std::string {
    if (std::count(words.begin(), words.end(), text) != 0) return "";
    return fmt::format("takes one of {}, not '{}'", fmt::join(words, ", "), text);
  };
  return CLI::Validator(check, "");
}

CLI::Validator CameraName() {
  const auto check = [](const std::string& text) {
    return text.find_first_not_of(" \t") == std::string::npos ? "takes a camera, not nothing" : "";
  };
  return CLI::Validator(check, "");
}

void AddPatienceOption(CLI::App* command, double& seconds) {
  command->add_option("--patience", seconds, "Seconds without any frame after which it fails; 0: never")
      ->type_name("S")
      ->check(Seconds())
      ->capture_default_str();
}

CommandLine::CommandLine()
    : app("See, set, keep and grab from GenICam cameras: GigE Vision and USB3 Vision.", "vireo-cam") {
  app.require_subcommand(1);
  app.fallthrough();
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.footer(
      "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no camera, 4 link lost, 5 frames missing.\n"
      "Without a camera: vireo-cam --simulate grab -n 5 -o frames");
  app.set_version_flag("--version", "vireo-cam " VIREO_CAM_VERSION);
  app.add_option("-a,--address", camera.address,
                 "Camera to open: device id, IP or MAC address or host name; default: the first one found")
      ->type_name("CAMERA")
      ->check(CameraName());
  app.add_option("-t,--timeout", camera.timeoutSeconds, "Seconds to keep trying to open the camera")
      ->type_name("S")
      ->check(Seconds())
      ->capture_default_str();
  app.add_flag("-s,--simulate", camera.simulate, "Use the simulated camera inside this program")
      ->excludes("--address");
  app.add_option("-l,--log", camera.logLevel, "Show the adapter's records from this level on")
      ->type_name(fmt::format("{}", fmt::join(LogLevelNames(), "|")))
      ->check(OneOf(LogLevelNames()))
      ->capture_default_str();
  app.add_option("--adapter", camera.adapterFile,
                 "Adapter plug-in to load; default: libvireo_genicam_arv.so beside this program, then on the "
                 "library path")
      ->type_name("FILE");
}

CLI::App* CommandLine::AddCommand(const std::string& name, const std::string& description,
                                  std::function<ExitStatus()> run) {
  CLI::App* const command = app.add_subcommand(name, description);
  command->fallthrough();
  command->group("Commands");
  command->footer(
      "--address, --timeout, --simulate, --log and --adapter ('vireo-cam --help') may stand here, too.");
  command->callback([this, run = std::move(run)] { action = run; });
  return command;
}

CLI::App* CommandLine::AddCameraCommand(const std::string& name, const std::string& description, Use use,
                                        std::function<ExitStatus(Camera&)> work) {
  return AddCommand(name, description,
                    [this, use, work = std::move(work)] { return WithCamera(camera, use, work); });
}

std::vector<CLI::App*> CommandLine::ShownCommands() {
  return app.get_subcommands([](CLI::App* command) { return !command->get_group().empty(); });
}

}  // namespace vireo::host

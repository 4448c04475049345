// SPDX-License-Identifier: MIT
#include "command_line.h"

namespace vireo::host {

CommandLine::CommandLine()
    : app("See, set, keep and grab from GenICam cameras: GigE Vision and USB3 Vision.", "vireo-cam") {
  app.require_subcommand(1);
  app.fallthrough();
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.footer(
      "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no camera, 4 link lost.\n"
      "Without a camera: vireo-cam --simulate grab -n 5 -o frames");
  app.set_version_flag("--version", "vireo-cam " VIREO_CAM_VERSION);
  app.add_option("-a,--address", camera.address,
                 "Camera to open: device id, IP or MAC address or host name; default: the first one found")
      ->type_name("CAMERA");
  app.add_option("-t,--timeout", camera.timeoutSeconds, "Seconds to keep trying to open the camera")
      ->type_name("S")
      ->check(Quiet(CLI::NonNegativeNumber))
      ->capture_default_str();
  app.add_flag("-s,--simulate", camera.simulate, "Use the simulated camera inside this program");
  app.add_option("-l,--log", camera.logLevel, "Show the adapter's records from this level on")
      ->type_name("off|trace|debug|info|warning|error")
      ->check(Quiet(CLI::IsMember({"off", "trace", "debug", "info", "warning", "error"})))
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
  command->callback([this, run = std::move(run)] { action = run; });
  return command;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstdint>
#include <functional>
#include <string>

#include "exit_status.h"

namespace vireo::host {

/// Options that stand before or after any command.
struct CameraOptions {
  std::string address;
  double timeoutSeconds = 5.0;
  bool simulate = false;
  std::string logLevel = "off";
  std::string adapterFile;  ///< empty: found beside the program, then on the library path
};

/// What the command line says. `action` is the chosen command, to be run once everything is parsed.
struct CommandLine {
  CLI::App app;
  CameraOptions camera;
  std::function<ExitStatus()> action;

  CommandLine();
  /// Adds a command; `run` becomes the action when it is chosen.
  CLI::App* AddCommand(const std::string& name, const std::string& description,
                       std::function<ExitStatus()> run);
};

/// The validator without the note that it would leave in the help.
inline CLI::Validator Quiet(const CLI::Validator& validator) {
  return validator.description("");
}

}  // namespace vireo::host

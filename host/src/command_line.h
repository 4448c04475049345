// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

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

/// Checks of an option's value whose errors say what it takes: numbers within bounds, both included, and
/// words.
CLI::Validator WholeNumber(std::int64_t min, std::int64_t max);
CLI::Validator Number(double min, double max);
CLI::Validator OneOf(const std::vector<std::string>& words);

/// A number of seconds, 0 or more.
inline CLI::Validator Seconds() {
  return Number(0.0, 1e9);
}

}  // namespace vireo::host

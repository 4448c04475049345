// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "camera/options.h"
#include "terminal/failure.h"

namespace vireo::host {

/// What the command line says. `action` is the chosen command, to be run once everything is parsed.
struct CommandLine {
  CLI::App app;
  CameraOptions camera;
  std::function<ExitStatus()> action;

  CommandLine();
  /// Adds a command; `run` becomes the action when it is chosen.
  CLI::App* AddCommand(const std::string& name, const std::string& description,
                       std::function<ExitStatus()> run);
  /// The same for a command that does nothing but work with the camera of the options.
  CLI::App* AddCameraCommand(const std::string& name, const std::string& description, Use use,
                             std::function<ExitStatus(Camera&)> work);
  /// The commands that people may use, in the order of the help.
  std::vector<CLI::App*> ShownCommands();
};

/// Checks of an option's value whose errors say what it takes: numbers within bounds, both included, and
/// words.
CLI::Validator WholeNumber(std::int64_t min, std::int64_t max);
CLI::Validator Number(double min, double max);
CLI::Validator OneOf(const std::vector<std::string>& words);
CLI::Validator CameraName();  ///< not a blank one

/// A number of seconds, 0 or more.
inline CLI::Validator Seconds() {
  return Number(0.0, 1e9);
}

/// Adds --patience to a command that receives frames.
void AddPatienceOption(CLI::App* command, double& seconds);

}  // namespace vireo::host

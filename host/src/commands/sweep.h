// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "camera/camera.h"
#include "commands/command_line.h"
#include "parameters/temporary_settings.h"

namespace vireo::host {

/// The values that --sweep NAME=VALUE,VALUE... gives a parameter one after the other.
class Sweep {
 public:
  /// Throws Failure when the camera has no such parameter, or a text is not a value of it; changes nothing.
  Sweep(Camera& camera, TemporarySettings& settings, const std::string& option);

  const std::string& Name() const { return name_; }
  std::size_t Size() const { return values_.size(); }
  /// Throws Failure unless the camera, as it is now, can take all values.
  void RequireAll() { settings_.Require(values_); }
  /// Sets a value, to be called without a stream. Returns what the camera has taken, and notes on standard
  /// error where that is another value. Throws Failure when it does not take it.
  std::string Choose(std::size_t index);

 private:
  Camera& camera_;
  TemporarySettings& settings_;
  std::string name_;
  std::vector<common::Parameter> values_;
};

/// Which parameter the option names, and how many values it has.
std::string SweepName(const std::string& option);
std::size_t SweepSize(const std::string& option);

/// Adds --sweep to a command that grabs `--frames` with each value.
void AddSweepOption(CLI::App* command, std::string& option);

}  // namespace vireo::host

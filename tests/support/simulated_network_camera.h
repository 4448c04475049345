// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/program.h"

/// How the command line names the camera below.
inline const std::string network = "--address 127.0.0.1 ";
/// A camera of plain memory with settings of every difficult kind.
inline const std::string difficultCamera = "--description '" VIREO_TEST_DATA "/host/settings.xml'";

/// A GigE Vision camera in a process of its own, as `vireo-cam simulate` makes it. Only one runs on a
/// computer, so it waits for others to end.
class SimulatedNetworkCamera {
 public:
  explicit SimulatedNetworkCamera(const std::string& options = "") {
    for (int attempt = 0; program_ == nullptr; ++attempt) {
      program_ = std::make_unique<Program>("simulate " + options);
      try {
        program_->WaitFor("ready");
      } catch (const std::runtime_error& error) {
        if (attempt == 60 || std::string(error.what()).find("another camera") == std::string::npos) throw;
        program_.reset();
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
      }
    }
  }
  Program& Process() { return *program_; }

 private:
  std::unique_ptr<Program> program_;
};

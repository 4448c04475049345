// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace vireo::host {

/// What the process tells its caller. Commands return or throw it; main() alone turns it into the exit
/// status.
enum class ExitStatus : int {
  Done = 0,
  Failed = 1,
  WrongUsage = 2,
  NoCamera = 3,
  LinkLost = 4,
  Incomplete = 5
};

/// Ends a command. The text is one line that names the thing and says what to do; an empty one ends it
/// silently.
class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus exitStatus, const std::string& text) : std::runtime_error(text), status(exitStatus) {}

  ExitStatus status;
};

}  // namespace vireo::host

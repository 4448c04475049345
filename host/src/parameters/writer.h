// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "parameters/values.h"

namespace vireo::host {

/// What became of parameters that were to be written in order.
struct WriteOutcome {
  std::vector<std::string> done;
  std::vector<std::string> notDone;  ///< the one that failed first
  std::string reason;                ///< why it failed; empty when all are done

  /// Throws Failure, with the reason and what is done and what is not, unless all are done.
  void Require() const;
};

/// A parameter as the camera has it after it was written.
struct ReadBack {
  std::string name;
  std::optional<common::Parameter> now;  ///< with metadata; none for a write-only parameter
  std::string unit;
  bool asWritten = true;  ///< false where the camera took another value
};

/// Writes parameters to the camera: the one way for everything that does.
///
/// A value is held against the bounds of the last scan before it is sent, so that the error says which values
/// would do. Writing a parameter may move the bounds of others (a narrower Width makes room for OffsetX), so
/// an objection counts only when a new scan confirms it. An error of the camera is a reason like an
/// objection; a lost link is thrown, from every operation, as Failure with LinkLost.
class ParameterWriter {
 public:
  /// Scans the camera.
  explicit ParameterWriter(Camera& camera);

  /// Writes one after the other and stops at the first that fails.
  WriteOutcome WriteInOrder(const std::vector<common::Parameter>& parameters);

  /// Writes one. Returns the reason why it failed, empty when it did not.
  std::string TryWrite(const common::Parameter& parameter);
  /// Whether the last scan objects to the value.
  bool Objects(const common::Parameter& parameter) const;

  /// Asks the camera what it made of a value; the unit is the last scan's.
  ReadBack ReadBackOf(const common::Parameter& written);

  /// Asks for all values and bounds again.
  const ParametersByName& Scan();
  const ParametersByName& LastScan() const { return scanned_; }

 private:
  Camera& camera_;
  ParametersByName scanned_;
};

}  // namespace vireo::host

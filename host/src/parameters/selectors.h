// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "parameters/setting_key.h"
#include "parameters/values.h"

namespace vireo::host {

/// Who selects whom, by a camera's description: those selectors that can be read and written.
class Selectors {
 public:
  explicit Selectors(const genicam::DetailedFeatures& features);

  bool IsSelector(const std::string& name) const { return selectors_.contains(name); }
  /// The selectors that a parameter's value depends on, the outermost first; none for a selector itself.
  std::vector<std::string> Of(const std::string& name) const;

 private:
  void collect(const std::string& name, std::set<std::string>& seen, std::vector<std::string>& order) const;

  std::set<std::string> selectors_;
  std::map<std::string, std::vector<std::string>> selecting_;  ///< by what they select
};

/// Gives selectors other values for a while. The destructor gives them back what they had, also when Ctrl-C
/// ended the work.
class Selection {
 public:
  explicit Selection(Camera& camera);
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;
  ~Selection();

  /// Makes each selector have its value, in order; nothing is written where it has it. Returns the reason why
  /// that failed, empty when it did not. Throws Failure when the link is lost, or on Ctrl-C.
  std::string Choose(const SelectorValues& at);

  /// Gives back what they had. Returns what could not be given back, a reason each. Throws Failure when the
  /// link is lost.
  std::vector<std::string> Restore();

 private:
  std::string remember(const std::string& name);
  std::string write(const std::string& name, const std::string& value);

  Camera& camera_;
  std::vector<common::Parameter> before_;      ///< in the order of the first time
  std::map<std::string, std::string> chosen_;  ///< what each has now
};

}  // namespace vireo::host

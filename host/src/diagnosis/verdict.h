// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "parameters/setting_key.h"
#include "terminal/failure.h"
#include "terminal/json.h"

namespace vireo::host {

/// A setting of the camera that takes a cause away and does no harm.
struct Remedy {
  std::string name;
  std::string value;
  SelectorValues at;  ///< what has to be selected for it
};

/// One cause that was found.
struct Verdict {
  std::string cause;                  ///< its name, the same in every release: "trigger"
  std::string what;                   ///< what is wrong, a sentence without its end
  std::vector<std::string> evidence;  ///< register values, counters, what came
  std::vector<std::string> todo;      ///< what to do, commands where there are some
  ExitStatus status = ExitStatus::Incomplete;
  std::vector<Remedy> remedies = {};   ///< what --fix writes, in order
  std::vector<std::string> done = {};  ///< what it wrote, and what it could not
};

/// Verdicts for people, numbered.
std::string VerdictsText(const std::vector<Verdict>& verdicts);
/// A list of objects.
Json VerdictsJson(const std::vector<Verdict>& verdicts);

}  // namespace vireo::host

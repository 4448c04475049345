// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "commands/command_line.h"
#include "parameters/rows.h"

namespace vireo::host {

/// What `list` and `describe` have in common: which rows to show, and how.
struct RowOptions {
  std::vector<std::string> patterns;
  bool detailed = false;
  bool json = false;
  bool csv = false;

  void AddFormatsTo(CLI::App* command);
};

void PrintRows(const std::vector<ParameterRow>& rows, const RowOptions& options);

}  // namespace vireo::host

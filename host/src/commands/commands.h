// SPDX-License-Identifier: MIT
#pragma once

#include "../command_line.h"

namespace vireo::host {

// Each adds one group of commands to the command line.

void AddDiscoveryCommands(CommandLine& line);  ///< cameras, info
void AddListCommands(CommandLine& line);       ///< list, describe, xml
void AddParameterCommands(CommandLine& line);  ///< get, set, run
void AddGrabCommand(CommandLine& line);
void AddSimulateCommand(CommandLine& line);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include "../command_line.h"

namespace vireo::host {

// Each adds one group of commands to the command line.

void AddDiscoveryCommands(CommandLine& line);  ///< cameras, info
void AddListCommands(CommandLine& line);       ///< list, describe, xml
void AddParameterCommands(CommandLine& line);  ///< get, set, run
void AddSettingsCommands(CommandLine& line);   ///< save, load, diff
void AddGrabCommand(CommandLine& line);
void AddWatchCommands(CommandLine& line);  ///< watch, bench
void AddViewCommand(CommandLine& line);
void AddSimulateCommand(CommandLine& line);
void AddManualCommands(CommandLine& line);  ///< help; for the build, man page and shell completion

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include "commands/command_line.h"

namespace vireo::host {

// Each adds a command to the command line; its file has its name.

void AddCamerasCommand(CommandLine& line);
void AddAddressCommand(CommandLine& line);
void AddInfoCommand(CommandLine& line);
void AddListCommand(CommandLine& line);
void AddDescribeCommand(CommandLine& line);
void AddXmlCommand(CommandLine& line);
void AddGetCommand(CommandLine& line);
void AddSetCommand(CommandLine& line);
void AddRunCommand(CommandLine& line);
void AddSaveCommand(CommandLine& line);
void AddLoadCommand(CommandLine& line);
void AddDiffCommand(CommandLine& line);
void AddGrabCommand(CommandLine& line);
void AddWatchCommand(CommandLine& line);
void AddWhyCommand(CommandLine& line);
void AddBenchCommand(CommandLine& line);
void AddViewCommand(CommandLine& line);
void AddSimulateCommand(CommandLine& line);
void AddHelpCommand(CommandLine& line);
void AddCompleteCommand(CommandLine& line);  ///< for the shell's completion
void AddManualCommand(CommandLine& line);    ///< for the build: man page and shell completion

}  // namespace vireo::host

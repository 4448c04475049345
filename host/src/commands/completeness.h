// SPDX-License-Identifier: MIT
#pragma once

#include "camera/stream.h"
#include "commands/command_line.h"

namespace vireo::host {

/// Adds --allow-lost to a command that must receive every frame.
void AddAllowLostOption(CLI::App* command, bool& allowLost);

/// Ends a command that must receive every frame. Throws Failure with Incomplete, saying what is missing, when
/// the stream ended early, its link was lost or frames were lost, bad or too large; with `allowLost` only
/// when it ended early.
void RequireComplete(const FrameStream& stream, bool allowLost);

}  // namespace vireo::host

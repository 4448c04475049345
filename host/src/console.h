// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vireo::host {

/// Keeps closed standard streams from becoming the next file that is opened, and a reader that went away from
/// ending the program. To be called first of all.
void PrepareConsole();

/// Writes to standard output. Throws Failure when that does not take it: a full disk; silently when the
/// reader went away.
void Print(std::string_view text);

/// One line on standard error: "vireo-cam: " and the text. Silent where nobody can read it, as a program
/// whose standard error is gone still does its work.
void PrintError(const std::string& text);

/// Characters of a line of the terminal behind standard output and standard error, or COLUMNS where that is
/// set; 0 when it is no terminal.
std::size_t OutputWidth();
std::size_t ErrorWidth();

}  // namespace vireo::host

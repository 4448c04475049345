// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vireo::host {

/// To be called first of all. A standard stream that the caller closed is opened on /dev/null, so that the
/// next file does not take its place; a reader that goes away does not end the program.
void PrepareConsole();

/// Writes to standard output. Throws Failure when it cannot, such as on a full disk; one without a text when
/// the reader went away.
void Print(std::string_view text);

/// One line on standard error: "vireo-cam: " and the text. Silent where nobody can read it, as a program
/// whose standard error is gone still does its work.
void PrintError(const std::string& text);

/// Characters of a line of the terminal behind standard output and standard error, or COLUMNS where that is
/// set; 0 when it is not a terminal.
std::size_t OutputWidth();
std::size_t ErrorWidth();

}  // namespace vireo::host

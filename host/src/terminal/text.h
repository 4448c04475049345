// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <vector>

namespace vireo::host {

/// A space for each control character but those in `kept`: texts of a camera must not steer the terminal.
std::string WithoutControls(std::string_view text, std::string_view kept = {});

/// ASCII letters in lower case, everything else as it is.
std::string Lowered(std::string text);

/// A line of comma-separated values (RFC 4180) with its end; a cell is quoted where it must be.
std::string CsvLine(const std::vector<std::string>& cells);

/// A count with its noun: "1 frame", "2 frames".
template <typename Number>
std::string Counted(Number count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace vireo::host

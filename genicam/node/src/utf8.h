// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace vireo::genicam {

bool isUtf8(std::string_view text);

/// Whether `text` can be shown as it is: UTF-8 without control characters other than tab, line end and
/// U+007F.
bool isPlain(std::string_view text);

/// Whether every text in this markup is plain, as long as no character reference stands for anything else:
/// XML takes carriage returns for line ends.
bool isPlainMarkup(std::string_view text);

/// `text` with U+FFFD for each byte or character that cannot be shown.
std::string plain(std::string_view text);

/// The first 80 characters of `text`, fit for a record or an error: a question mark for each that cannot be
/// shown, tabs and line ends among them.
std::string oneLine(std::string_view text);

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace vireo::host::adaptertext {

// The adapter says some things in texts alone: those of its errors and of its records that the host reads.
// docs/host-contract.md lists all of them; who changes one there changes it here.

/// Begins the error of a connection that no camera answered; after it ": " and the reason, where there is
/// one.
inline constexpr std::string_view noAnswer = "GenICamAdapter: connection timeout";

/// Ends the error of a read or a write that the camera did not answer, however often the library tried.
inline constexpr std::string_view noReply = " timeout";

/// In the record of a frame that came damaged: its buffer status, a number, follows.
inline constexpr std::string_view damagedFrame = "buffer status=";

/// In the record of a frame that is larger than the host's memory: its size in bytes follows.
inline constexpr std::string_view oversizedFrame = "frame too large (";

/// In the parser's records of what it does not take from a description; the reason follows.
inline constexpr std::string_view leftOut = " is left out: ";

/// Between what a record says of itself (time, place, thread) and its message.
inline constexpr std::string_view beforeMessage = ": ";

}  // namespace vireo::host::adaptertext

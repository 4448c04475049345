// SPDX-License-Identifier: MIT
#pragma once

namespace vireo::host {

/// Turns Ctrl-C and a termination request into a question that loops ask; to be called when the loop begins,
/// since nothing asks before. A second Ctrl-C ends the process at once.
void CatchInterrupts();

bool Interrupted() noexcept;

/// Blocks until `Interrupted`.
void WaitForInterrupt();

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

namespace vireo::host {

/// Turns Ctrl-C, a termination request and a closed terminal into a question that loops ask; to be called
/// when the loop begins, since nothing asks before. Another Ctrl-C a second later or more ends the process at
/// once.
void CatchInterrupts();

bool Interrupted() noexcept;

/// Blocks until `Interrupted`.
void WaitForInterrupt();

}  // namespace vireo::host

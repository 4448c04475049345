// SPDX-License-Identifier: MIT
#pragma once

namespace vireo::host {

/// From here on Ctrl-C, a termination request and a closed terminal only make `Interrupted` true: call it
/// when a loop begins that asks. A repeated Ctrl-C, a second later or more, ends the process at once.
void CatchInterrupts();

bool Interrupted() noexcept;

/// Blocks until `Interrupted`.
void WaitForInterrupt();

}  // namespace vireo::host

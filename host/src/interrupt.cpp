// SPDX-License-Identifier: MIT
#include "interrupt.h"

#include <signal.h>

#include <cerrno>
#include <ctime>

namespace vireo::host {
namespace {

volatile sig_atomic_t interrupted = 0;

void onSignal(int) {
  interrupted = 1;
}

}  // namespace

void CatchInterrupts() {
  struct sigaction action {};
  action.sa_handler = onSignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool Interrupted() noexcept {
  return interrupted != 0;
}

void WaitForInterrupt() {
  // The signal may be handled by any thread, so the wait is cut into pieces.
  const timespec piece{0, 50'000'000};
  while (!Interrupted()) nanosleep(&piece, nullptr);
}

}  // namespace vireo::host

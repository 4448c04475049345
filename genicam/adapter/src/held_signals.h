// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>

namespace vireo::genicam {

/// Keeps signals from this thread, and from threads that it starts meanwhile; what comes is handled at the
/// end.
///
/// Making a stream, the library waits for a test packet. It takes a wait that a signal ended for a packet
/// that came, and then waits for that packet without end.
class HeldSignals {
 public:
  HeldSignals() {
    sigset_t held;
    sigfillset(&held);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT}) sigdelset(&held, fault);
    pthread_sigmask(SIG_SETMASK, &held, &before_);
  }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;
  ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

}  // namespace vireo::genicam

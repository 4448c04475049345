// SPDX-License-Identifier: MIT
#include "terminal/interrupt.h"

#include <signal.h>

#include <atomic>
#include <cstdint>
#include <ctime>

namespace vireo::host {
namespace {

// A shell or `timeout` may send the same request twice at once; a person needs longer to repeat it.
constexpr std::int64_t insistsAfter = 1000;  // milliseconds
std::atomic<std::int64_t> firstRequest{0};   // on the monotonic clock; 0: none yet
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

void onSignal(int number) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const std::int64_t time = now.tv_sec * std::int64_t{1000} + now.tv_nsec / 1'000'000;
  std::int64_t first = 0;
  if (firstRequest.compare_exchange_strong(first, time) || time - first < insistsAfter) return;
  signal(number, SIG_DFL);
  raise(number);
}

}  // namespace

void CatchInterrupts() {
  struct sigaction action {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  struct sigaction before {};
  sigaction(SIGHUP, nullptr, &before);
  if (before.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);  // under nohup it stays ignored
}

bool Interrupted() noexcept {
  return firstRequest != 0;
}

void WaitForInterrupt() {
  // The signal may be handled by any thread, so the wait is cut into pieces.
  const timespec piece{0, 50'000'000};
  while (!Interrupted()) nanosleep(&piece, nullptr);
}

}  // namespace vireo::host

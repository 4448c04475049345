// SPDX-License-Identifier: MIT
#include "terminal/console.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "terminal/failure.h"
#include "terminal/numbers.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

std::size_t terminalWidth(int descriptor) {
  if (const char* const columns = std::getenv("COLUMNS")) {
    const std::size_t width = NumberFrom<std::size_t>(columns).value_or(0);
    if (width > 0) return width;
  }
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace

void PrepareConsole() {
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error like any other
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
    descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);  // writing fails as on the closed one
  }
  ::close(descriptor);
}

void Print(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
  if (errno == EPIPE) throw Failure(ExitStatus::Failed, "");  // the reader has seen enough
  throw Failure(ExitStatus::Failed,
                fmt::format("cannot write standard output: {}", std::generic_category().message(errno)));
}

void PrintError(const std::string& text) {
  std::fputs(("vireo-cam: " + WithoutControls(text) + '\n').c_str(), stderr);
}

std::size_t OutputWidth() {
  return terminalWidth(STDOUT_FILENO);
}

std::size_t ErrorWidth() {
  return terminalWidth(STDERR_FILENO);
}

}  // namespace vireo::host

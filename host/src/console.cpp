// SPDX-License-Identifier: MIT
#include "console.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vireo::host {

void PrepareConsole() {
  signal(SIGPIPE, SIG_IGN);
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
    descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);  // writing fails as on the closed one
  }
  ::close(descriptor);
}

void PrintError(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  std::fputs(("vireo-cam: " + text + '\n').c_str(), stderr);
}

std::size_t TerminalWidth(int descriptor) {
  if (const char* const columns = std::getenv("COLUMNS")) {
    std::size_t width = 0;
    std::from_chars(columns, columns + std::strlen(columns), width);
    if (width > 0) return width;
  }
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace vireo::host

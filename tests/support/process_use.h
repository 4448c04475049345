// SPDX-License-Identifier: MIT
#pragma once

#include <malloc.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

/// What this process holds at the moment.
struct ProcessUse {
  std::ptrdiff_t threads = 0;
  std::ptrdiff_t descriptors = 0;
  std::ptrdiff_t heap = 0;      ///< bytes allocated and not freed; 0 under a sanitizer's allocator
  std::ptrdiff_t resident = 0;  ///< bytes of memory that the system has given

  /// Threads and descriptors of a process by its id.
  static ProcessUse of(const std::string& process) {
    const auto entries = [&](const char* folder) {
      const std::filesystem::directory_iterator begin("/proc/" + process + folder);
      return std::distance(begin, std::filesystem::directory_iterator());
    };
    ProcessUse use;
    use.threads = entries("/task");
    use.descriptors = entries("/fd");
    return use;
  }
  static ProcessUse now() {
    ProcessUse use = of("self");
    const auto memory = mallinfo2();
    use.heap = static_cast<std::ptrdiff_t>(memory.uordblks + memory.hblkhd);
    std::ifstream("/proc/self/statm").ignore(32, ' ') >> use.resident;
    use.resident *= sysconf(_SC_PAGESIZE);
    return use;
  }
};

inline std::ostream& operator<<(std::ostream& out, const ProcessUse& use) {
  return out << use.threads << " threads, " << use.descriptors << " descriptors, " << use.heap / 1024
             << " KiB allocated, " << use.resident / 1024 << " KiB resident";
}

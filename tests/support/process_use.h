// SPDX-License-Identifier: MIT
#pragma once

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
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
    const std::filesystem::directory_iterator tasks("/proc/" + process + "/task"), end;
    const std::filesystem::directory_iterator descriptors("/proc/" + process + "/fd");
    ProcessUse use;
    use.threads = std::count_if(tasks, end, [](const auto& task) { return !isEnding(task.path()); });
    use.descriptors = std::distance(descriptors, end);
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

 private:
  // The system lists a thread for a moment longer than whoever joins it waits.
  static bool isEnding(const std::filesystem::path& task) {
    constexpr unsigned exiting = 0x4;  // PF_EXITING
    std::ifstream file(task / "stat");
    std::string word;
    std::getline(file, word, ')');  // the name may have blanks
    for (int i = 0; i < 6; ++i) file >> word;
    unsigned flags = 0;
    file >> flags;
    return !file || (flags & exiting) != 0;
  }
};

inline std::ostream& operator<<(std::ostream& out, const ProcessUse& use) {
  return out << use.threads << " threads, " << use.descriptors << " descriptors, " << use.heap / 1024
             << " KiB allocated, " << use.resident / 1024 << " KiB resident";
}

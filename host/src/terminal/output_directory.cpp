// SPDX-License-Identifier: MIT
#include "terminal/output_directory.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "terminal/failure.h"

namespace vireo::host {

OutputDirectory::OutputDirectory(const std::filesystem::path& path) {
  make(path);
  descriptor_ = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  // A file system without such locks is used without.
  if (descriptor_ < 0 || ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
  ::close(descriptor_);
  throw Failure(ExitStatus::Failed, fmt::format("another program is saving frames in {}: choose another "
                                                "directory with -o",
                                                path.string()));
}

OutputDirectory::~OutputDirectory() {
  if (descriptor_ >= 0) ::close(descriptor_);
  std::for_each(made_.rbegin(), made_.rend(), [](const auto& path) { ::rmdir(path.c_str()); });
}

void OutputDirectory::make(const std::filesystem::path& path) {
  std::error_code error;
  for (auto missing = path; !missing.empty() && !std::filesystem::exists(missing, error);
       missing = missing.parent_path()) {
    made_.insert(made_.begin(), missing);
  }
  std::filesystem::create_directories(path, error);
  if (!error) return;
  throw Failure(ExitStatus::Failed,
                fmt::format("cannot make the directory {}: {}; choose another one with -o", path.string(),
                            error.message()));
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

#include "exit_status.h"

namespace vireo::host {
namespace {

Failure fileFailure(const std::filesystem::path& path, const char* action, int error) {
  const char* const advice =
      error == ENOSPC || error == EDQUOT ? "; make room or choose another directory" : "";
  return Failure(ExitStatus::Failed, fmt::format("cannot {} {}: {}{}", action, path.string(),
                                                 std::generic_category().message(error), advice));
}

}  // namespace

void RefuseExisting(const std::filesystem::path& path, bool overwrite) {
  using std::filesystem::file_type;
  std::error_code ignored;
  const auto refuse = [&](const char* reason) {
    throw Failure(ExitStatus::Failed, fmt::format("{} {}", path.string(), reason));
  };
  const file_type target = std::filesystem::status(path, ignored).type();
  if (target == file_type::regular && !overwrite) {
    refuse("exists: choose another name, or overwrite it with --force");
  }
  if (target == file_type::regular) return;
  if (target == file_type::directory) refuse("is a directory: name a file");
  if (target != file_type::not_found && target != file_type::none) {
    refuse("is no plain file, so it cannot be replaced: choose another name");
  }
  if (std::filesystem::is_symlink(path, ignored)) refuse("is a link to nothing: choose another name");
}

OutputFile::OutputFile(const std::filesystem::path& path, bool overwrite)
    : path_(path), overwrite_(overwrite) {
  RefuseExisting(path, overwrite);
  std::error_code ignored;
  if (std::filesystem::is_symlink(path, ignored)) path_ = std::filesystem::canonical(path, ignored);
  partPath_ = path_.string() + ".part";
  descriptor_ = ::open(partPath_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor_ < 0) fail(errno);
  if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
    ::close(descriptor_);
    throw Failure(ExitStatus::Failed,
                  fmt::format("another program is writing {}: choose another name", path_.string()));
  }
  if (::ftruncate(descriptor_, 0) != 0) fail(errno);
}

OutputFile::~OutputFile() {
  if (descriptor_ < 0) return;
  ::close(descriptor_);
  ::unlink(partPath_.c_str());
}

void OutputFile::Write(std::span<const unsigned char> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail(errno);
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
}

void OutputFile::Write(std::string_view text) {
  Write(std::span(reinterpret_cast<const unsigned char*>(text.data()), text.size()));
}

void OutputFile::Reserve(std::size_t bytes) {
  // A file whose directory was removed or renamed could be written on, but no longer committed.
  struct stat open {};
  struct stat named {};
  if (::stat(partPath_.c_str(), &named) != 0) fail(errno);
  if (::fstat(descriptor_, &open) != 0 || open.st_ino != named.st_ino) fail(ENOENT);
  const off_t end = ::lseek(descriptor_, 0, SEEK_END);
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);  // what is reserved beyond the end does not count for it
  if (static_cast<rlim_t>(end) + bytes > limit.rlim_cur) fail(EFBIG);
  int error = EINTR;
  while (error == EINTR) {
    const int result = ::fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, end, static_cast<off_t>(bytes));
    error = result == 0 ? 0 : errno;
  }
  if (error != 0 && error != EOPNOTSUPP) fail(error);
}

void OutputFile::Commit() {
  // A file system may report a failed write as late as here.
  const int descriptor = descriptor_;
  descriptor_ = -1;
  int error = ::close(descriptor) == 0 ? 0 : errno;
  if (error == 0) {
    const unsigned flags = overwrite_ ? 0 : RENAME_NOREPLACE;
    error = ::renameat2(AT_FDCWD, partPath_.c_str(), AT_FDCWD, path_.c_str(), flags) == 0 ? 0 : errno;
  }
  if (error == EINVAL) error = ::rename(partPath_.c_str(), path_.c_str()) == 0 ? 0 : errno;
  if (error == 0) return;
  ::unlink(partPath_.c_str());
  fail(error);
}

void OutputFile::fail(int error) const {
  throw fileFailure(path_, "write", error);
}

std::string ReadFile(const std::filesystem::path& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) throw fileFailure(path, "read", EISDIR);
  std::ifstream file(path, std::ios::binary);
  if (!file) throw fileFailure(path, "read", errno);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace vireo::host

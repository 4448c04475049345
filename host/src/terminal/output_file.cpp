// SPDX-License-Identifier: MIT
#include "terminal/output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include "terminal/failure.h"

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
    refuse("is not a plain file, so it cannot be replaced: choose another name");
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
  // What was renamed before it was locked is a finished file of another program.
  if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0 || !hasName()) {
    ::close(descriptor_);
    throw Failure(ExitStatus::Failed,
                  fmt::format("another program is writing {}: choose another name", path_.string()));
  }
  if (::ftruncate(descriptor_, 0) != 0) fail(errno);
}

OutputFile::~OutputFile() {
  if (descriptor_ < 0) return;
  ::close(descriptor_);
  if (!published_) ::unlink(partPath_.c_str());
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

bool OutputFile::hasName() const {
  struct stat open {};
  struct stat named {};
  if (::stat(partPath_.c_str(), &named) != 0 || ::fstat(descriptor_, &open) != 0) return false;
  return open.st_ino == named.st_ino && open.st_dev == named.st_dev;
}

void OutputFile::Reserve(std::size_t bytes) {
  // A file whose directory was removed or renamed could be written on, but no longer committed.
  if (!hasName()) fail(ENOENT);
  const off_t end = ::lseek(descriptor_, 0, SEEK_END);
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);  // fallocate below does not check it: the file keeps its size
  if (static_cast<rlim_t>(end) + bytes > limit.rlim_cur) fail(EFBIG);
  int error = EINTR;
  while (error == EINTR) {
    const int result = ::fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, end, static_cast<off_t>(bytes));
    error = result == 0 ? 0 : errno;
  }
  if (error != 0 && error != EOPNOTSUPP) fail(error);
}

void OutputFile::Commit() {
  // A file system may report a failed write as late as at closing. The duplicate keeps the lock until the
  // file has its name, so that no other writer takes the part file meanwhile.
  const int duplicate = ::fcntl(descriptor_, F_DUPFD_CLOEXEC, 0);
  const int error = ::close(std::exchange(descriptor_, duplicate)) == 0 ? 0 : errno;
  if (error == 0) return Publish();
  if (!published_) ::unlink(partPath_.c_str());
  fail(error);
}

void OutputFile::Publish() {
  if (std::exchange(published_, true)) return;
  const unsigned flags = overwrite_ ? 0 : RENAME_NOREPLACE;
  int error = ::renameat2(AT_FDCWD, partPath_.c_str(), AT_FDCWD, path_.c_str(), flags) == 0 ? 0 : errno;
  // EINVAL: this file system does not know the flag.
  if (error == EINVAL) error = ::rename(partPath_.c_str(), path_.c_str()) == 0 ? 0 : errno;
  if (error == 0) return;
  ::unlink(partPath_.c_str());
  fail(error);
}

void OutputFile::Truncate(std::size_t bytes) {
  const auto end = static_cast<off_t>(bytes);
  if (::ftruncate(descriptor_, end) != 0 || ::lseek(descriptor_, end, SEEK_SET) < 0) fail(errno);
}

void OutputFile::fail(int error) const {
  throw fileFailure(path_, "write", error);
}

void WriteFile(const std::filesystem::path& path, bool overwrite, std::string_view text) {
  OutputFile file(path, overwrite);
  file.Write(text);
  file.Commit();
}

namespace {

// A device such as /dev/full can be read for ever.
std::string readAll(int descriptor, const std::string& name) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) throw fileFailure(name, "read", errno);
  if (S_ISCHR(status.st_mode) && ::isatty(descriptor) == 0)
    throw Failure(ExitStatus::Failed, fmt::format("cannot read {}: it is a device: name a file", name));
  std::string text;
  std::array<char, 65536> part;
  while (true) {
    const ssize_t count = ::read(descriptor, part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw fileFailure(name, "read", errno);
    if (count == 0) return text;
    text.append(part.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

std::string ReadFile(const std::filesystem::path& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
  if (file == nullptr) throw fileFailure(path, "read", errno);
  return readAll(::fileno(file.get()), path.string());
}

std::string ReadInput(const std::string& file) {
  return file == "-" ? readAll(STDIN_FILENO, InputName(file)) : ReadFile(file);
}

std::string InputName(const std::string& file) {
  return file == "-" ? "standard input" : file;
}

}  // namespace vireo::host

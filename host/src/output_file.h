// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace vireo::host {

/// A file that appears under its name only when it is complete: until `Commit` it is written beside it, and
/// an uncommitted one leaves nothing behind. A symbolic link is followed. All throw Failure with the file's
/// name and the system's reason.
class OutputFile {
 public:
  OutputFile(const std::filesystem::path& path, bool overwrite);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  int Descriptor() const { return descriptor_; }
  void Write(std::span<const unsigned char> bytes);
  void Write(std::string_view text);
  /// Asks for room for `bytes` more, so that a full disk or a vanished directory shows before a write.
  void Reserve(std::size_t bytes);
  void Commit();

 private:
  [[noreturn]] void fail(int error) const;

  std::filesystem::path path_;
  std::filesystem::path partPath_;
  bool overwrite_;
  int descriptor_ = -1;
};

/// Throws Failure when `path` exists and may not be overwritten, or is something else than a plain file.
void RefuseExisting(const std::filesystem::path& path, bool overwrite);

/// The whole of a file. Throws Failure when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace vireo::host {

/// A file that appears under its name only when it is complete.
///
/// It is written as NAME.part in the same directory, and `Commit` renames that to NAME. A rename within a
/// directory happens as a whole or not at all, so whoever opens NAME finds the file of before or the complete
/// new one, also when the disk fills up or the program is killed in between. Without `Commit`
/// the destructor removes NAME.part and NAME stays as it was. NAME.part is locked while it is written: a
/// second program that wants the same name fails instead of mixing its bytes with ours, while one that a
/// killed program left behind carries no lock and is used again. Where overwriting is not allowed the rename
/// itself refuses a NAME that appeared meanwhile. Of a symbolic link the file behind it is replaced, not the
/// link.
///
/// All operations throw Failure with the file's name and the system's reason.
class OutputFile {
 public:
  OutputFile(const std::filesystem::path& path, bool overwrite);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  int Descriptor() const { return descriptor_; }
  const std::filesystem::path& Path() const { return path_; }
  void Write(std::span<const unsigned char> bytes);
  void Write(std::string_view text);
  /// Asks for room for `bytes` more, so that a full disk or a vanished directory shows before a write.
  void Reserve(std::size_t bytes);
  void Commit();

  /// Gives the file its name before it is complete: what is written from here on is in NAME at once.
  void Publish();
  /// Takes back what was written behind the first `bytes`.
  void Truncate(std::size_t bytes);

 private:
  bool hasName() const;  ///< the open file is the one that the part's name leads to
  [[noreturn]] void fail(int error) const;

  std::filesystem::path path_;
  std::filesystem::path partPath_;
  bool overwrite_;
  bool published_ = false;  // NAME.part is NAME now
  int descriptor_ = -1;
};

/// Throws Failure when `path` exists and may not be overwritten, or is something else than a plain file.
void RefuseExisting(const std::filesystem::path& path, bool overwrite);

/// Makes a file of `text`. Throws Failure.
void WriteFile(const std::filesystem::path& path, bool overwrite, std::string_view text);

/// The whole of a file. Throws Failure when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

/// The same, but of "-" all that comes from standard input.
std::string ReadInput(const std::string& file);
/// What to call it in an error.
std::string InputName(const std::string& file);

}  // namespace vireo::host

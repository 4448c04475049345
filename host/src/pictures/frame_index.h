// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "pictures/frame.h"
#include "terminal/output_file.h"

namespace vireo::host {

/// Where a frame is saved.
struct FramePlace {
  std::string file;        ///< its name in the directory
  std::uint64_t page = 0;  ///< 1 for the first one; 0 for a file without pages
};

/// The list of the saved frames, frames.csv: a line a frame, in the order in which they came.
///
/// A frame's line is written before its picture gets its name, and taken back when the picture does not get
/// it. So whatever ends the program, a kill too, every whole picture is listed. A kill can tear the last
/// line, as the system ends a write between two pages of memory; it has no line end then. The file begins
/// with the first frame: until then it leaves everything as it was, then the pictures of an earlier grab go.
///
/// Several threads add frames at once; one of them calls the rest when the others are done.
class FrameIndex {
 public:
  /// `extraColumns` come behind the index's own. Throws Failure when files of an earlier grab exist and may
  /// not be overwritten.
  FrameIndex(std::filesystem::path directory, bool overwrite, std::string pixelFormat,
             std::vector<std::string> extraColumns);

  /// Waits until all frames before this one are listed, lists it and calls `complete`, which makes its
  /// picture whole. Does nothing after `GiveUp`. Throws Failure, and what `complete` throws.
  void Add(const Frame& frame, const FramePlace& place, const std::function<void()>& complete);
  /// A frame could not be saved: the frames behind it will not be, either.
  void GiveUp();

  /// How many frames it lists.
  std::uint64_t Size() const { return size_; }
  /// Ends the file; with `Size` 0 there is none.
  void Commit();
  /// Takes the file away: no frame is safe.
  void Remove();

 private:
  void begin();
  std::string lineOf(const Frame& frame, const FramePlace& place) const;

  std::filesystem::path directory_;
  bool overwrite_;
  std::string pixelFormat_;
  std::vector<std::string> extraColumns_;
  std::set<std::filesystem::path> earlier_;  // pictures of an earlier grab

  std::mutex mutex_;  // of what follows
  std::condition_variable changed_;
  std::optional<OutputFile> file_;
  std::uint64_t size_ = 0;
  std::size_t bytes_ = 0;
  bool givenUp_ = false;
};

}  // namespace vireo::host

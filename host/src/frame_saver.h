// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "output_file.h"
#include "picture_file.h"
#include "pixel_layout.h"
#include "vireo/common/adapter_base.h"

namespace vireo::host {

enum class FileFormat { Png, Tiff, Raw };

struct SaveOptions {
  std::filesystem::path directory = "frames";
  FileFormat format = FileFormat::Png;
  bool stack = false;  ///< all frames into one TIFF file, frames.tiff
  bool force = false;  ///< overwrite existing files
};

/// Turns frames into files on threads of its own, so that receiving goes on meanwhile. Every file that it
/// leaves behind is complete; frames.csv lists them. One thread calls it.
class FrameSaver {
 public:
  /// Throws Failure when the directory cannot be made, files of an earlier grab would be overwritten, or the
  /// format cannot hold such pixels.
  FrameSaver(SaveOptions options, const std::string& pixelFormat);
  ~FrameSaver();

  /// Takes the frame's bytes and leaves a buffer of the same size. Waits while too many frames are pending.
  /// False once a file could not be written: `Finish` says why.
  bool Save(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer);

  /// Waits for what is pending and completes frames.csv; without any frame it leaves everything as it was.
  /// Throws what stopped the saving.
  void Finish();

  /// Frames that are safe once `Finish` has returned or thrown.
  std::uint64_t Saved() const { return saved_; }

 private:
  struct Job {
    std::uint64_t index = 0;
    common::FrameInfo info;
    std::vector<std::uint8_t> bytes;
  };

  void work();
  bool takeJob(Job& job);
  std::string saveOne(const Job& job);
  void jobDone(const Job& job, const std::string& file);
  std::string csvLine(const Job& job, const std::string& file) const;
  void stopWorkers();
  void commit();

  SaveOptions options_;
  std::string pixelFormat_;
  std::optional<PixelLayout> layout_;
  std::set<std::string> earlier_;  ///< files of an earlier grab that this one has not replaced yet
  std::optional<OutputFile> csv_;
  std::unique_ptr<TiffFile> stack_;
  std::vector<std::thread> workers_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Job> pending_;
  std::vector<std::vector<std::uint8_t>> spare_;
  std::map<std::uint64_t, std::string> lines_;  // of frames.csv, by frame index
  std::exception_ptr error_;
  std::uint64_t taken_ = 0;
  std::uint64_t saved_ = 0;
  bool closing_ = false;
};

}  // namespace vireo::host

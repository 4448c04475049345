// SPDX-License-Identifier: MIT
#include "frame_saver.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "exit_status.h"
#include "text_table.h"

namespace vireo::host {
namespace {

constexpr std::size_t pendingLimit = 32;  // frames in memory
constexpr std::size_t csvLineRoom = 160;  // bytes kept free for a line of frames.csv...
constexpr std::size_t csvBlock = 1024;    // ...for so many lines ahead
constexpr const char* stackName = "frames.tiff";

std::string extension(FileFormat format) {
  switch (format) {
    case FileFormat::Png:
      return "png";
    case FileFormat::Tiff:
      return "tiff";
    case FileFormat::Raw:
      return "raw";
  }
  return "";
}

std::string fileName(std::uint64_t index, FileFormat format) {
  return fmt::format("frame_{:06}.{}", index, extension(format));
}

void makeDirectory(const std::filesystem::path& directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  if (!error) return;
  throw Failure(ExitStatus::Failed,
                fmt::format("cannot make the directory {}: {}; choose another one with -o",
                            directory.string(), error.message()));
}

/// The names of the pictures that an earlier grab left in the directory.
std::set<std::string> earlierPictures(const std::filesystem::path& directory) {
  constexpr const char* pattern = "@(frame_[0-9][0-9][0-9][0-9][0-9]+([0-9]).@(png|tiff|raw)|frames.tiff)";
  std::set<std::string> names;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(directory, ignored)) {
    const std::string name = entry.path().filename().string();
    if (fnmatch(pattern, name.c_str(), FNM_EXTMATCH) == 0) names.insert(name);
  }
  return names;
}

}  // namespace

FrameSaver::FrameSaver(SaveOptions options, const std::string& pixelFormat)
    : options_(std::move(options)), pixelFormat_(pixelFormat), layout_(LayoutOf(pixelFormat)) {
  if (!layout_ && options_.format != FileFormat::Raw) {
    throw Failure(ExitStatus::Failed,
                  fmt::format("{} frames are no plain picture: save them with --format raw, or "
                              "choose another PixelFormat",
                              pixelFormat));
  }
  makeDirectory(options_.directory);
  earlier_ = earlierPictures(options_.directory);
  for (const std::string& name : earlier_) RefuseExisting(options_.directory / name, options_.force);
  csv_.emplace(options_.directory / "frames.csv", options_.force);
  csv_->Reserve(csvLineRoom * csvBlock);
  csv_->Write("frame_id,timestamp_ns,exposure_us,width,height,pixel_format,bytes,file\r\n");
  if (options_.stack) {
    stack_ = std::make_unique<TiffFile>(options_.directory / stackName, options_.force, true);
  }
  // Pages of a stack have an order, files have none.
  const unsigned threads = options_.stack ? 1 : std::max(1u, std::thread::hardware_concurrency());
  for (unsigned i = 0; i < threads; ++i) workers_.emplace_back([this] { work(); });
}

FrameSaver::~FrameSaver() {
  stopWorkers();
}

bool FrameSaver::Save(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return pending_.size() < pendingLimit || error_; });
  if (error_) return false;
  std::vector<std::uint8_t> next;
  if (!spare_.empty()) {
    next = std::move(spare_.back());
    spare_.pop_back();
  }
  next.resize(buffer.size());
  std::swap(next, buffer);
  pending_.push_back({++taken_, info, std::move(next)});
  changed_.notify_all();
  return true;
}

void FrameSaver::work() {
  Job job;
  while (takeJob(job)) {
    try {
      jobDone(job, saveOne(job));
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!error_) error_ = std::current_exception();
      pending_.clear();
      changed_.notify_all();
    }
  }
}

bool FrameSaver::takeJob(Job& job) {
  std::unique_lock lock(mutex_);
  if (!job.bytes.empty() && spare_.size() < pendingLimit) spare_.push_back(std::move(job.bytes));
  changed_.wait(lock, [&] { return !pending_.empty() || closing_; });
  if (pending_.empty()) return false;
  job = std::move(pending_.front());
  pending_.pop_front();
  changed_.notify_all();
  return true;
}

std::string FrameSaver::saveOne(const Job& job) {
  const std::span bytes = std::span(job.bytes).first(job.info.size);
  const auto width = static_cast<std::size_t>(job.info.width);
  const auto height = static_cast<std::size_t>(job.info.height);
  const std::string name = options_.stack ? stackName : fileName(job.index, options_.format);
  if (options_.stack) {
    stack_->AddPage(Develop(*layout_, width, height, bytes));
    return name;
  }
  const std::filesystem::path path = options_.directory / name;
  if (options_.format == FileFormat::Tiff) {
    TiffFile file(path, options_.force, false);
    file.AddPage(Develop(*layout_, width, height, bytes));
    file.Commit();
    return name;
  }
  OutputFile file(path, options_.force);
  if (options_.format == FileFormat::Raw) {
    file.Write(bytes);
  } else {
    file.Write(EncodePng(Develop(*layout_, width, height, bytes)));
  }
  file.Commit();
  return name;
}

void FrameSaver::jobDone(const Job& job, const std::string& file) {
  const std::lock_guard lock(mutex_);
  lines_[job.index] = csvLine(job, file);
  earlier_.erase(file);
  if (++saved_ % csvBlock == 0) csv_->Reserve(csvLineRoom * (saved_ + csvBlock));
}

std::string FrameSaver::csvLine(const Job& job, const std::string& file) const {
  const common::FrameInfo& info = job.info;
  return fmt::format("{},{},{},{},{},{},{},{}\r\n", info.frameId, info.timestamp, info.exposureTime,
                     info.width, info.height, CsvCell(pixelFormat_), info.size, CsvCell(file));
}

void FrameSaver::stopWorkers() {
  {
    const std::lock_guard lock(mutex_);
    closing_ = true;
    changed_.notify_all();
  }
  for (std::thread& worker : workers_) worker.join();
  workers_.clear();
}

void FrameSaver::Finish() {
  stopWorkers();
  try {
    commit();
  } catch (...) {
    if (!error_) error_ = std::current_exception();
  }
  csv_.reset();
  std::error_code ignored;
  if (!std::filesystem::exists(options_.directory, ignored)) saved_ = 0;  // taken away with what was in it
  if (error_) std::rethrow_exception(error_);
}

void FrameSaver::commit() {
  if (saved_ == 0) return;
  if (stack_) {
    const std::uint64_t pages = std::exchange(saved_, 0);  // none is safe before all are
    stack_->Commit();
    saved_ = pages;
  }
  for (const auto& [index, line] : lines_) csv_->Write(line);
  csv_->Commit();
  // The rest of a longer grab is not in the list.
  std::error_code ignored;
  for (const std::string& name : earlier_) std::filesystem::remove(options_.directory / name, ignored);
}

}  // namespace vireo::host

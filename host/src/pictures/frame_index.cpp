// SPDX-License-Identifier: MIT
#include "pictures/frame_index.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

#include "pictures/frame_format.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

constexpr const char* fileName = "frames.csv";

template <typename Number>
std::string textOf(Number number) {
  return fmt::format("{}", number);
}

std::string lineWith(std::vector<std::string> cells, const std::vector<std::string>& extra) {
  cells.insert(cells.end(), extra.begin(), extra.end());
  return CsvLine(cells);
}

}  // namespace

FrameIndex::FrameIndex(std::filesystem::path directory, bool overwrite, std::string pixelFormat,
                       std::vector<std::string> extraColumns)
    : directory_(std::move(directory)),
      overwrite_(overwrite),
      pixelFormat_(std::move(pixelFormat)),
      extraColumns_(std::move(extraColumns)) {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(directory_, ignored)) {
    if (IsSavedFrame(entry.path().filename().string())) earlier_.insert(entry.path());
  }
  for (const std::filesystem::path& picture : earlier_) RefuseExisting(picture, overwrite_);
  RefuseExisting(directory_ / fileName, overwrite_);
}

void FrameIndex::Add(const Frame& frame, const FramePlace& place, const std::function<void()>& complete) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return frame.index == size_ + 1 || givenUp_; });
  if (givenUp_) return;
  if (!file_) begin();
  const std::string line = lineOf(frame, place);
  try {
    file_->Write(line);
    complete();
  } catch (...) {
    file_->Truncate(bytes_);
    throw;
  }
  bytes_ += line.size();
  ++size_;
  changed_.notify_all();
}

void FrameIndex::begin() {
  const std::string header = lineWith({"frame_id", "timestamp_ns", "exposure_us", "width", "height",
                                       "pixel_format", "bytes", "file", "page", "arrival_ns"},
                                      extraColumns_);
  file_.emplace(directory_ / fileName, overwrite_);
  file_->Write(header);
  file_->Publish();
  bytes_ = header.size();
  std::error_code ignored;
  for (const std::filesystem::path& picture : earlier_) {
    // Of a link the file behind it is replaced.
    if (!std::filesystem::is_symlink(picture, ignored)) std::filesystem::remove(picture, ignored);
  }
}

std::string FrameIndex::lineOf(const Frame& frame, const FramePlace& place) const {
  const common::FrameInfo& info = frame.info;
  return lineWith({textOf(info.frameId), textOf(info.timestamp), textOf(info.exposureTime),
                   textOf(info.width), textOf(info.height), pixelFormat_, textOf(info.size), place.file,
                   place.page == 0 ? "" : textOf(place.page), textOf(frame.arrival)},
                  frame.extra);
}

void FrameIndex::GiveUp() {
  const std::lock_guard lock(mutex_);
  givenUp_ = true;
  changed_.notify_all();
}

void FrameIndex::Commit() {
  if (size_ == 0) return Remove();
  file_->Commit();
}

void FrameIndex::Remove() {
  std::error_code ignored;
  if (file_) std::filesystem::remove(file_->Path(), ignored);
  file_.reset();
}

}  // namespace vireo::host

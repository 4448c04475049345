// SPDX-License-Identifier: MIT
#include "pictures/frame_saver.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

#include "terminal/failure.h"

namespace vireo::host {
namespace {

FrameTarget targetOf(const SaveOptions& options, const PixelFormat& pixelFormat) {
  const FrameTarget target = {options.directory, options.force, LayoutOf(pixelFormat)};
  if (target.layout || !options.format->picturesOnly) return target;
  throw Failure(
      ExitStatus::Failed,
      fmt::format("{} frames are not a plain picture: save them with --format raw, or choose another "
                  "PixelFormat",
                  pixelFormat.name));
}

}  // namespace

FrameSaver::FrameSaver(SaveOptions options, const PixelFormat& pixelFormat)
    : options_(std::move(options)),
      target_(targetOf(options_, pixelFormat)),
      directory_(options_.directory),
      index_(options_.directory, options_.force, pixelFormat.name, options_.extraColumns),
      writer_(options_.format->makeWriter(target_)) {
  const unsigned threads =
      options_.format->keepsOrder ? 1 : std::max(1u, std::thread::hardware_concurrency());
  queue_.emplace(threads, [this](const Frame& frame) { saveFrame(frame); });
}

bool FrameSaver::Save(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer,
                      const std::vector<std::string>& extra) {
  return queue_->Put(info, buffer, extra);
}

void FrameSaver::saveFrame(const Frame& frame) {
  try {
    writer_->Write(frame, index_);
  } catch (...) {
    index_.GiveUp();
    throw;
  }
}

void FrameSaver::Finish() {
  std::exception_ptr error = queue_->Close();
  try {
    commit();
  } catch (...) {
    if (!error) error = std::current_exception();
  }
  writer_.reset();  // removes what is not committed
  std::error_code ignored;
  if (!std::filesystem::exists(options_.directory, ignored)) saved_ = 0;  // removed or renamed meanwhile
  if (error) std::rethrow_exception(error);
}

void FrameSaver::commit() {
  try {
    if (index_.Size() != 0) writer_->Commit();
  } catch (...) {
    index_.Remove();
    throw;
  }
  saved_ = index_.Size();
  index_.Commit();
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "pictures/frame_pipe.h"

#include <exception>
#include <utility>

#include "terminal/console.h"

namespace vireo::host {

FramePipe::FramePipe(PixelFormat pixelFormat)
    : pixelFormat_(std::move(pixelFormat)), queue_(1, [this](const Frame& frame) { write(frame); }) {}

bool FramePipe::Save(const common::FrameInfo& info, std::vector<std::uint8_t>& buffer,
                     const std::vector<std::string>& extra) {
  return queue_.Put(info, buffer, extra);
}

void FramePipe::Finish() {
  if (const std::exception_ptr error = queue_.Close()) std::rethrow_exception(error);
}

void FramePipe::write(const Frame& frame) {
  const std::size_t image = pixelFormat_.ImageBytes(frame.info);
  const auto bytes = frame.Bytes().first(image == 0 ? frame.info.size : image);
  Print({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  ++written_;
}

}  // namespace vireo::host

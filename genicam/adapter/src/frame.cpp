// SPDX-License-Identifier: MIT
#include "frame.h"

#include <cstring>

#include "feature_access.h"
#include "pixel_type.h"

namespace vireo::genicam {
namespace {

// A filled buffer of a stream, which goes back to it exactly once.
class PoppedBuffer {
 public:
  PoppedBuffer(ArvStream* stream, std::uint64_t timeoutMicroseconds) noexcept
      : stream_(stream), buffer_(arv_stream_timeout_pop_buffer(stream, timeoutMicroseconds)) {}
  ~PoppedBuffer() {
    if (buffer_ != nullptr) arv_stream_push_buffer(stream_, buffer_);
  }
  PoppedBuffer(const PoppedBuffer&) = delete;
  PoppedBuffer& operator=(const PoppedBuffer&) = delete;

  ArvBuffer* get() const noexcept { return buffer_; }

 private:
  ArvStream* stream_;
  ArvBuffer* buffer_;
};

void describe(ArvBuffer* buffer, std::uint64_t size, NodeMap& nodes, FrameInfo& info) {
  info.width = arv_buffer_get_image_width(buffer);
  info.height = arv_buffer_get_image_height(buffer);
  info.offsetX = arv_buffer_get_image_x(buffer);
  info.offsetY = arv_buffer_get_image_y(buffer);
  info.frameId = arv_buffer_get_frame_id(buffer);
  info.timestamp = arv_buffer_get_timestamp(buffer);
  info.size = size;
  if (auto* exposure = findNodeAs<FloatNode>(nodes, "ExposureTime")) info.exposureTime = loadFloat(*exposure);
  info.dataType = elementType(arv_buffer_get_image_pixel_format(buffer));
}

}  // namespace

FrameResult takeFrame(ArvStream* stream, std::uint64_t timeoutMicroseconds, std::uint64_t bufferSize,
                      std::span<std::uint8_t> memory, NodeMap& nodes, FrameInfo& info) {
  const PoppedBuffer frame(stream, timeoutMicroseconds);
  if (frame.get() == nullptr) return {};
  const ArvBufferStatus status = arv_buffer_get_status(frame.get());
  if (status != ARV_BUFFER_STATUS_SUCCESS) return {FrameResult::Bad, status};
  std::size_t size = 0;
  const void* const image = arv_buffer_get_data(frame.get(), &size);
  // Packets that are too long are counted whole: the library can tell of more bytes than the buffer has.
  if (size > bufferSize || (image == nullptr && size > 0)) return {FrameResult::Bad, status};
  if (size > memory.size()) return {FrameResult::TooLarge, status, size};
  if (size > 0) std::memcpy(memory.data(), image, size);
  describe(frame.get(), size, nodes, info);
  return {FrameResult::Copied, status, size};
}

}  // namespace vireo::genicam

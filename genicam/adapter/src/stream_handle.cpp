// SPDX-License-Identifier: MIT
#include "stream_handle.h"

#include <arv.h>

#include <utility>

namespace vireo::genicam {

// Sequentially consistent throughout: either the receive sees that the stream is gone, or the controlling
// thread sees the receive.

StreamHandle::Lease::Lease(StreamHandle& handle) noexcept : handle_(handle), stream_(handle.lent_.load()) {
  if (stream_ == nullptr) return;  // without a mark: a hot loop on a stopped stream keeps nobody waiting
  handle_.users_.fetch_add(1);
  stream_ = handle_.lent_.load();
  if (stream_ == nullptr && handle_.users_.fetch_sub(1) == 1) handle_.users_.notify_all();
}

void StreamHandle::Lease::end() noexcept {
  if (std::exchange(stream_, nullptr) == nullptr) return;
  if (handle_.users_.fetch_sub(1) == 1) handle_.users_.notify_all();
}

void StreamHandle::takeBack() noexcept {
  lent_.store(nullptr);
  for (int users = users_.load(); users != 0; users = users_.load()) users_.wait(users);
}

void StreamHandle::release() noexcept {
  takeBack();
  const GObjectGuard<ArvStream> dropped(std::exchange(stream_, nullptr));
}

PoppedBuffer::PoppedBuffer(ArvStream* stream, std::uint64_t timeoutMicroseconds) noexcept
    : stream_(stream), buffer_(arv_stream_timeout_pop_buffer(stream, timeoutMicroseconds)) {}

void PoppedBuffer::giveBack() noexcept {
  if (ArvBuffer* const buffer = std::exchange(buffer_, nullptr)) arv_stream_push_buffer(stream_, buffer);
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

#include "vireo/genicam/adapter.h"

namespace vireo::genicam {

/// The acquisition stream, lent to receiving threads. A receive never waits for the controlling thread; the
/// controlling thread first takes the stream away from new receives, then waits for those inside it. It
/// cannot starve behind a receive loop, which no longer enters once the stream is gone.
class StreamHandle {
 public:
  /// The stream for the duration of one receive; empty when there is none.
  class Lease {
   public:
    explicit Lease(StreamHandle& handle) noexcept;
    ~Lease() { end(); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    ArvStream* stream() const noexcept { return stream_; }
    /// The stream must not be touched afterwards.
    void end() noexcept;

   private:
    StreamHandle& handle_;
    ArvStream* stream_;
  };

  // The rest is for the controlling thread alone.

  ArvStream* get() const noexcept { return stream_; }

  /// Owns the reference of `stream` from now on, and lends it to nobody yet. There must be none before; null
  /// is allowed.
  void put(ArvStream* stream) noexcept { stream_ = stream; }

  /// Lets receives in.
  void lend() noexcept { lent_.store(stream_); }

  /// Lets no receive in any more. On return none is inside.
  void takeBack() noexcept;

  /// Takes the stream back and drops it, and its buffers with it.
  void release() noexcept;

 private:
  ArvStream* stream_ = nullptr;
  std::atomic<ArvStream*> lent_{nullptr};
  std::atomic<int> users_{0};
};

/// A filled buffer of a stream, which goes back to it exactly once.
class PoppedBuffer {
 public:
  /// Waits at most `timeoutMicroseconds`; empty when no frame came.
  PoppedBuffer(ArvStream* stream, std::uint64_t timeoutMicroseconds) noexcept;
  ~PoppedBuffer() { giveBack(); }
  PoppedBuffer(const PoppedBuffer&) = delete;
  PoppedBuffer& operator=(const PoppedBuffer&) = delete;

  ArvBuffer* get() const noexcept { return buffer_; }
  /// The buffer must not be touched afterwards.
  void giveBack() noexcept;

 private:
  ArvStream* stream_;
  ArvBuffer* buffer_;
};

}  // namespace vireo::genicam

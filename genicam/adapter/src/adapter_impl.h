// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "feature_access.h"
#include "stream_handle.h"
#include "vireo/genicam/adapter.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

using vireo::common::AcquisitionMode;

/// A number that may be absent, set by one thread and read by any.
class SharedCount {
 public:
  void store(std::optional<std::int64_t> count) noexcept {
    if (count) value_.store(*count, std::memory_order_relaxed);
    engaged_.store(count.has_value(), std::memory_order_release);
  }
  std::optional<std::int64_t> load() const noexcept {
    if (!engaged_.load(std::memory_order_acquire)) return std::nullopt;
    return value_.load(std::memory_order_relaxed);
  }

 private:
  std::atomic<std::int64_t> value_{0};
  std::atomic<bool> engaged_{false};
};

/// Counts the thread that made it, for as long as it lives.
class CountedIn {
 public:
  explicit CountedIn(std::atomic<int>& count) noexcept : count_(count) { ++count_; }
  ~CountedIn() { --count_; }
  CountedIn(const CountedIn&) = delete;
  CountedIn& operator=(const CountedIn&) = delete;

 private:
  std::atomic<int>& count_;
};

/// The state of one camera connection. Destroying it releases nothing: `Disconnect` does that before.
///
/// What is not atomic belongs to the controlling thread; a receive may look at it only while it holds a lease
/// of the stream, and the controlling thread changes it only after taking the stream away.
struct GenICamAdapter::Impl {
  std::atomic<bool> connected{false};
  std::atomic<bool> controlLost{false};
  ArvDevice* device = nullptr;  ///< owns one reference
  StreamHandle stream;
  NodeMap nodeMap;
  bool acquiring = false;
  std::atomic<AcquisitionMode> acquisitionMode{AcquisitionMode::Stopped};
  SharedCount frameTarget;
  std::atomic<std::int64_t> framesReceived{0};
  std::chrono::steady_clock::time_point acquisitionStartTime;
  std::atomic<double> frameRate{0.0};
  std::uint64_t payloadSize = 0;  ///< bytes
  std::int32_t bufferCount = 0;
  unsigned long controlLostHandlerId = 0;

  /// Guards the pointer for those who ask about the device while another thread may drop it.
  mutable std::mutex deviceMutex;
  unsigned deviceReferences = 0;  ///< that the device had when it was opened, ours among them

  /// Held by the operations that open, close, start and stop, and by every access to a feature: the camera
  /// library's feature tree is for one thread at a time. A receive takes it only to stop a finite
  /// acquisition, and then without a lease. Recursive, because these operations call one another through the
  /// interface.
  std::recursive_mutex control;
  /// Tells one acquisition from the next; changed by every start, stop and disconnect.
  std::atomic<std::uint64_t> acquisition{0};

  // Connection
  bool isUsable() const { return connected && device != nullptr; }
  void requireUsable() const;
  void watchControl();
  void loadNodeMapFromDevice();
  ArvDevice* exchangeDevice(ArvDevice* replacement);  ///< returns the one before, with its reference
  void releaseDevice();
  void awaitSignalInFlight(ArvDevice* released) const;

  // Parameters
  void scanParameters();
  NodeVariant& findNode(const std::string& name);
  const char* readFeature(const std::string& name, NodeVariant& node, NodeType kind, GErrorGuard& error);
  void refreshFeatureBounds(const std::string& name, NodeVariant& node, NodeType kind);
  void sendFeature(const std::string& name, const FeatureValue& value, GErrorGuard& error);

  // Acquisition
  std::uint64_t askPayloadSize();
  void requireBufferMemory(std::uint64_t payload) const;
  void createStream();
  void resetAcquisition(std::optional<long> frames);
  void pushBuffers();
  void fillInfo(ArvBuffer* buffer, std::uint64_t size, FrameInfo& info);
  std::int64_t countFrame();
  bool isComplete(std::int64_t count) const;

  /// Throw std::runtime_error, the context followed by the error's text, when `error` holds one; the first
  /// writes an error record before.
  static void checkError(GErrorGuard& error, const std::string& context);
  static void checkErrorSoft(GErrorGuard& error, const std::string& context);
};

}  // namespace vireo::genicam

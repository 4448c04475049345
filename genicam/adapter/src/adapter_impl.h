// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "acquisition_runs.h"
#include "completed_run.h"
#include "control_loss.h"
#include "fair_mutex.h"
#include "feature_access.h"
#include "vireo/genicam/adapter.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// The state of one camera connection. Destroying it releases nothing: `Disconnect` does that before.
///
/// What has no thread rule of its own belongs to the controlling thread. None of the locks is held while host
/// code can run: not while a record is written, not while an operation is called through the interface.
struct GenICamAdapter::Impl {
  std::atomic<bool> connected{false};
  ControlLoss controlLoss;
  ArvDevice* device = nullptr;  ///< owns one reference; changed under both `features` and `deviceMutex`
  NodeMap nodeMap;  ///< changes its shape only while no receive can be inside; a receive reads `ExposureTime`
  AcquisitionRuns runs;
  CompletedRun completed;
  std::uint64_t payloadSize = 0;             ///< bytes
  std::atomic<std::uint64_t> bufferSize{0};  ///< bytes of each of the stream's buffers
  std::int32_t bufferCount = 0;
  unsigned long controlLostHandlerId = 0;
  unsigned deviceReferences = 0;  ///< that the device had when it was opened, ours among them

  /// Held for one feature access. Fair: the receive that completes a run waits for the access in flight
  /// alone.
  FairMutex features;
  /// Guards the pointer for `CheckConnection`, which must not wait for a feature access.
  mutable std::mutex deviceMutex;

  // Connection
  bool isUsable() const { return connected && device != nullptr; }
  void requireUsable() const;
  void watchControl();
  std::string_view description() const;  ///< the camera library's own text; empty when there is none
  void loadNodeMapFromDevice();
  ArvDevice* exchangeDevice(ArvDevice* replacement);  ///< returns the one before, with its reference
  void releaseDevice();
  void awaitSignalInFlight(ArvDevice* released) const;

  // Parameters
  void scanParameters();
  NodeVariant& findNode(const std::string& name);
  std::optional<std::string> readFeature(const std::string& name, NodeVariant& node, NodeType kind,
                                         GErrorGuard& error);
  void refreshFeatureBounds(const std::string& name, NodeVariant& node, NodeType kind);
  void sendFeature(const std::string& name, const FeatureValue& value, GErrorGuard& error);

  // Acquisition
  std::uint64_t askPayloadSize();
  void requireBufferMemory(std::uint64_t payload);
  void requireUsbPayload();
  void createStream(AcquisitionRuns::Hold& hold);
  void dropStream();
  void pushBuffers(ArvStream* stream);
  /// Sends the command if there is a device and `stillWanted` returns true. Returns whether it was sent;
  /// `error` holds what the device answered.
  template <typename Question>
  bool executeIf(Question stillWanted, const char* command, GErrorGuard& error);

  /// Throw std::runtime_error, the context followed by the error's text, when `error` holds one; the first
  /// writes an error record before.
  static void checkError(GErrorGuard& error, const std::string& context);
  static void checkErrorSoft(GErrorGuard& error, const std::string& context);
};

}  // namespace vireo::genicam

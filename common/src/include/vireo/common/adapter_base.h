// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "brio/fnd/export.h"
#include "vireo/common/parameter.h"

namespace vireo::common {

/// What a host configures before it connects.
struct ReceiveCfg {
  std::string cameraAddress;    ///< device id, IP or MAC address or host name; empty: the first camera found
  double connectTimeout = 5.0;  ///< seconds
};

struct CheckResult {
  bool ok = false;
  std::vector<std::string> messages;  ///< why the connection is not usable; empty when it is
};

/// The imaging quantities that every camera host asks for, with the camera parameter behind each; an empty
/// name means that the camera has no such parameter.
struct BasicParams {
  double exposureTime = 0.0;  ///< seconds
  double frameRate = 0.0;     ///< frames per second, as the camera states it
  std::uint32_t width = 0;    ///< pixels, as the other sizes and offsets
  std::uint32_t height = 0;
  std::uint32_t offsetX = 0;
  std::uint32_t offsetY = 0;
  std::uint32_t binningHorizontal = 1;
  std::uint32_t binningVertical = 1;
  std::uint32_t maxWidth = 0;
  std::uint32_t maxHeight = 0;
  std::uint8_t pixelBytes = 2;
  std::uint64_t frameSize = 0;  ///< bytes of one full-size frame
  std::string exposureTimeParam;
  std::string frameRateParam;
  std::string widthParam;
  std::string heightParam;
  std::string offsetXParam;
  std::string offsetYParam;
  std::string binningHorizontalParam;
  std::string binningVerticalParam;
};

/// The camera's own description of its parameters.
struct NativeDocument {
  std::string content;
  std::string extension;  ///< file-name extension with its dot; empty when there is no content
};

/// What is known of one frame. An adapter writes what it knows and leaves the rest alone.
struct FrameInfo {
  std::int32_t offsetX = 0;  ///< pixels, as the other sizes and offsets
  std::int32_t offsetY = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::uint64_t frameId = 0;
  std::uint64_t timestamp = 0;  ///< nanoseconds, the camera's clock
  double exposureTime = 0.0;    ///< in the camera feature's own unit, microseconds
  DataType dataType = DataType::Unspecified;
  std::uint64_t size = 0;  ///< bytes written into the host's buffer
};

enum class AcquisitionMode : std::int32_t { Stopped = 0, Continuous = 1, Finite = 2 };

struct AcquisitionState {
  AcquisitionMode mode = AcquisitionMode::Stopped;
  std::optional<std::int64_t> framesRemaining;  ///< of a finite acquisition
  double frameRate = 0.0;                       ///< frames per second, averaged since the last start
};

/// The host's clock: nanoseconds since the Unix epoch.
BRIO_EXPORT std::uint64_t TimeNow();

/// One camera as a host drives it. Every failure is a std::runtime_error unless an operation says otherwise.
///
/// Threads: one host thread controls the adapter; one more may sit in `ReceiveFrame` and any may ask
/// `GetAcquisitionState` at the same time. The order of the virtual operations is part of the binary
/// interface.
class BRIO_EXPORT AdapterBase {
 public:
  AdapterBase();
  AdapterBase(const AdapterBase&) = delete;
  AdapterBase& operator=(const AdapterBase&) = delete;
  virtual ~AdapterBase();

  /// Opens the camera, trying until the configured time-out; an open connection is closed first. Returns
  /// every parameter with its current value, keyed by name.
  virtual std::map<std::string, Parameter> Connect() = 0;
  /// Ends the connection, and an acquisition with it. Does nothing on an adapter that is not connected.
  virtual void Disconnect() = 0;
  /// Whether the connection is usable, without asking the camera. Problems are in the result, never thrown.
  virtual CheckResult CheckConnection() const = 0;
  virtual bool IsConnected() const = 0;
  virtual std::string GetProtocol() const = 0;
  /// From the last known values, without asking the camera. Never throws for something missing.
  virtual BasicParams GetBasicParams() const = 0;
  /// Stores the configuration for the next `Connect`. Throws when the time-out is negative or not a number.
  virtual void Initialise(const ReceiveCfg& cfg);
  /// Waits a bounded time for one frame. `received` says whether `buffer` and `info` were filled; a late, bad
  /// or oversized frame is not an exception. The second argument is reserved.
  virtual void ReceiveFrame(bool& received, uint64_t, std::span<uint8_t>& buffer, FrameInfo& info) = 0;
  /// Asks the camera for the current value.
  virtual Parameter Read(const std::string& name) = 0;
  /// In order; the first failure ends the batch and nothing is returned.
  virtual std::vector<Parameter> Read(const std::vector<std::string>& names) = 0;
  /// Sets the camera's value, or executes the command of that name.
  virtual void Write(const Parameter& parameter) = 0;
  /// In order; the first failure ends the batch, and what was written before it stays written.
  virtual void Write(const std::vector<Parameter>& parameters) = 0;
  /// Asks the camera for all values and returns every listed parameter with its metadata, ordered by name.
  virtual std::vector<Parameter> Scan() = 0;
  /// The camera's own document; empty when there is none or no connection.
  virtual NativeDocument GetNativeParameterDocument() const = 0;
  /// Without asking the camera. Any thread.
  virtual AcquisitionState GetAcquisitionState() const = 0;
  /// Starts a finite acquisition of `frames` frames when that is greater than 0, else a continuous one.
  virtual void StartAcquisition(std::optional<long> frames) = 0;
  /// Ends the acquisition. A camera that refuses to stop is a warning record, not an exception.
  virtual void StopAcquisition() = 0;

  /// The text to open a camera with: `address` without surrounding blanks; device ids, IP and MAC addresses
  /// and host names are understood as they stand. The second argument is reserved.
  static std::string ResolveAddress(const std::string& address, bool);

 protected:
  double connectTimeout = 5.0;  ///< seconds
  std::string cameraAddress;
  std::uint64_t acquisitionStopTime = 0;  ///< `TimeNow()` of the last stop
  std::uint64_t lastFrameTime = 0;        ///< `TimeNow()` of the last delivered frame
  bool acquisitionActive = false;
};

}  // namespace vireo::common

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

/// One camera as a host drives it. Every failure is a std::runtime_error, unless an operation says otherwise.
///
/// Threads, by operation:
/// - any thread, at any time: `CheckConnection`, `IsConnected`, `GetProtocol`, `GetAcquisitionState`;
/// - one receiving thread, beside the controlling one: `ReceiveFrame`;
/// - one controlling thread at a time: all others. The host brings the lock, if it has several.
/// Overrides and the logger may take that lock too; the adapter holds none of its own while it calls them.
/// One record is an exception: that of a lost control, for which disconnecting waits.
///
/// Times are of the adapter itself. What asks the camera takes one or two exchanges with it besides for every
/// value: some 60 microseconds each on a quiet network. When the camera does not answer any more, 2.5 s each
/// on GigE Vision, 2 s on USB3 Vision.
///
/// The order of the virtual operations is part of the binary interface.
class BRIO_EXPORT AdapterBase {
 public:
  AdapterBase();
  AdapterBase(const AdapterBase&) = delete;
  AdapterBase& operator=(const AdapterBase&) = delete;
  virtual ~AdapterBase();

  /// Opens the camera and asks it for all values. Returns every parameter, keyed by name. In any state: an
  /// open connection is closed first. Tries once a second until the configured time-out, and takes at most
  /// one second and one attempt longer. After a failure the adapter is not connected.
  virtual std::map<std::string, Parameter> Connect() = 0;
  /// Ends the connection, and an acquisition with it. In any state; without a connection it does nothing.
  /// Waits for the receive inside: at most 100 ms and one copy, or the stop that it carries out. Only a
  /// failure of an overridden `StopAcquisition` leaves it, and the connection is then as it was.
  virtual void Disconnect() = 0;
  /// Whether the connection is usable, without asking the camera. In any state, at once. Problems are in the
  /// result, never thrown.
  virtual CheckResult CheckConnection() const = 0;
  /// In any state, at once. A camera that is gone still counts as connected, until `Disconnect`.
  virtual bool IsConnected() const = 0;
  virtual std::string GetProtocol() const = 0;
  /// From the last known values, without asking the camera. In any state, at once. Never throws for something
  /// missing.
  virtual BasicParams GetBasicParams() const = 0;
  /// Stores the configuration for the next `Connect`. In any state. Throws when the time-out is negative or
  /// not a number, and then stores nothing.
  virtual void Initialise(const ReceiveCfg& cfg);
  /// Waits at most 100 ms for one frame and copies it to the start of `buffer`. `received` says whether
  /// `buffer` and `info` were filled: a late, bad or oversized frame is not an exception, and is lost. In any
  /// state; without an acquisition it returns at once. The second argument is reserved. The last frame of a
  /// finite acquisition stops it from inside, which takes as long as `StopAcquisition`.
  virtual void ReceiveFrame(bool& received, uint64_t, std::span<uint8_t>& buffer, FrameInfo& info) = 0;
  /// Asks the camera for the current value. Connected. After a failure of the camera the last known value of
  /// a number is 0, of a text the one before.
  virtual Parameter Read(const std::string& name) = 0;
  /// In order; the first failure ends the batch and nothing is returned.
  virtual std::vector<Parameter> Read(const std::vector<std::string>& names) = 0;
  /// Sets the camera's value, or executes the command of that name. Connected. After a failure the last known
  /// value is the one before.
  virtual void Write(const Parameter& parameter) = 0;
  /// In order; the first failure ends the batch, and what was written before it stays written.
  virtual void Write(const std::vector<Parameter>& parameters) = 0;
  /// Asks the camera for all values and returns every listed parameter with its metadata, ordered by name.
  /// Connected. A value that cannot be read is 0 or the text before, not a failure.
  virtual std::vector<Parameter> Scan() = 0;
  /// The camera's own document; empty when there is none or no connection. In any state, at once.
  virtual NativeDocument GetNativeParameterDocument() const = 0;
  /// Of one acquisition. Without asking the camera, in any state, at once.
  virtual AcquisitionState GetAcquisitionState() const = 0;
  /// Starts a finite acquisition of `frames` frames when that is greater than 0, else a continuous one.
  /// Connected; while one runs, the new one takes its place. Asks the camera for all values first. Waits for
  /// the receive inside, as `Disconnect` does. After a failure `StopAcquisition` clears what is left.
  virtual void StartAcquisition(std::optional<long> frames) = 0;
  /// Ends the acquisition and drops its buffers. In any state; without a connection it does nothing. Waits
  /// for the receive inside, as `Disconnect` does. A camera that refuses to stop is a warning record,
  /// not an exception.
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

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <span>

#include "vireo/common/parameter.h"

namespace vireo::common {

struct ReceiveCfg {
  int version;
  std::string camera;
};
struct CheckResult {
  bool ok = false;
  std::vector<std::string> messages;
};
struct BasicParams {
  double exposureTime = 0, frameRate = 0;
  std::uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0, binningHorizontal = 1, binningVertical = 1,
                maxWidth = 0, maxHeight = 0;
  std::uint8_t pixelBytes = 2;
  std::uint64_t frameSize = 0;
  std::string exposureTimeParam, frameRateParam, widthParam, heightParam, offsetXParam, offsetYParam,
      binningHorizontalParam, binningVerticalParam;
};
struct NativeDocument {
  std::string content, extension;
};
struct FrameInfo {
  std::int32_t offsetX, offsetY, width, height;
  std::uint64_t frameId, timestamp;
  double exposureTime;
  DataType dataType;
  std::uint64_t size;
  std::string remark;
};
enum class AcquisitionMode : int { Stopped, Continuous, Finite };
struct AcquisitionState {
  AcquisitionMode mode = AcquisitionMode::Stopped;
  std::optional<std::int64_t> framesRemaining;
  double frameRate = 0;
};

std::uint64_t TimeNow();

class AdapterBase {
 public:
  AdapterBase();
  virtual ~AdapterBase();
  virtual std::map<std::string, Parameter> Connect() = 0;
  virtual void Disconnect() = 0;
  virtual CheckResult CheckConnection() const = 0;
  virtual bool IsConnected() const = 0;
  virtual std::string GetProtocol() const = 0;
  virtual BasicParams GetBasicParams() const = 0;
  virtual void Initialise(const ReceiveCfg&);
  virtual void ReceiveFrame(bool&, std::uint64_t, std::span<std::uint8_t>&, FrameInfo&) = 0;
  virtual Parameter Read(const std::string&) = 0;
  virtual std::vector<Parameter> Read(const std::vector<std::string>&) = 0;
  virtual void Write(const Parameter&) = 0;
  virtual void Write(const std::vector<Parameter>&) = 0;
  virtual std::vector<Parameter> Scan() = 0;
  virtual NativeDocument GetNativeParameterDocument() const = 0;
  virtual AcquisitionState GetAcquisitionState() const = 0;
  virtual void StartAcquisition(std::optional<long>) = 0;
  virtual void StopAcquisition() = 0;
  static std::string ResolveAddress(const std::string&, bool);

 protected:
  double connectTimeout;
  std::string cameraAddress;
  void* ofTheFrameworkAlone[3];
  std::uint64_t acquisitionStopTime, lastFrameTime;
  bool acquisitionActive;
};

}  // namespace vireo::common

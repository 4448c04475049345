// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "brio/fnd/export.h"
#include "vireo/common/adapter_base.h"

using ArvBuffer = struct _ArvBuffer;
using ArvDevice = struct _ArvDevice;
using ArvStream = struct _ArvStream;
using GError = struct _GError;
using GInetAddress = struct _GInetAddress;

namespace vireo::genicam {

using vireo::common::AcquisitionState;
using vireo::common::BasicParams;
using vireo::common::CheckResult;
using vireo::common::FrameInfo;
using vireo::common::NativeDocument;
using vireo::common::Parameter;

/// Owns one reference to a GObject, or nothing. Never allocates, never throws; not for sharing between
/// threads.
template <typename T>
class GObjectGuard {
 public:
  /// Takes over the caller's reference; null is allowed.
  GObjectGuard(T* object) noexcept;
  ~GObjectGuard();
  GObjectGuard(GObjectGuard&& other) noexcept;
  GObjectGuard& operator=(GObjectGuard&& other) noexcept;

  T* get() const noexcept;
  /// Hands the reference to the caller.
  T* release() noexcept;
  /// Drops the held reference and takes over the caller's, even when both are of the same object.
  void reset(T* object) noexcept;
  explicit operator bool() const noexcept;

 private:
  T* object_;
};

extern template class BRIO_EXPORT GObjectGuard<ArvDevice>;
extern template class BRIO_EXPORT GObjectGuard<ArvStream>;
extern template class BRIO_EXPORT GObjectGuard<ArvBuffer>;
extern template class BRIO_EXPORT GObjectGuard<GInetAddress>;

/// Owns the error that one call reported, if any: hand the address of `error` to the call.
class BRIO_EXPORT GErrorGuard {
 public:
  GErrorGuard() = default;
  ~GErrorGuard();
  GErrorGuard(const GErrorGuard&) = delete;
  GErrorGuard& operator=(const GErrorGuard&) = delete;

  /// The error's text; empty when there is no error or it has no text.
  std::string message() const;

  GError* error = nullptr;
};

/// A GigE Vision or USB3 Vision camera, driven through Aravis. What each operation does for the host, and its
/// threads, is said at `AdapterBase`; every failure is a std::runtime_error.
///
/// Nothing is held while a record is written or an operation is called through the interface: loggers and
/// overrides may take a lock that the host also holds around its calls. The one exception is a logger that
/// writes "control-lost": dropping a device or a stream waits for it, so it must not wait for a lock that is
/// held around `Connect`, `Disconnect`, `StartAcquisition`, `StopAcquisition` or the destruction.
///
/// The receive that completes a finite acquisition stops it, and waits for at most one feature access in
/// flight. End all other calls before the adapter is destroyed. A logger must not call the adapter.
class BRIO_EXPORT GenICamAdapter : public vireo::common::AdapterBase {
 public:
  GenICamAdapter();
  /// Disconnects first.
  ~GenICamAdapter() override;

  std::map<std::string, Parameter> Connect() override;
  void Disconnect() override;
  CheckResult CheckConnection() const override;
  bool IsConnected() const override;
  std::string GetProtocol() const override;
  BasicParams GetBasicParams() const override;
  void ReceiveFrame(bool& received, uint64_t, std::span<uint8_t>& buffer, FrameInfo& info) override;
  Parameter Read(const std::string& name) override;
  std::vector<Parameter> Read(const std::vector<std::string>& names) override;
  void Write(const Parameter& parameter) override;
  void Write(const std::vector<Parameter>& parameters) override;
  std::vector<Parameter> Scan() override;
  NativeDocument GetNativeParameterDocument() const override;
  AcquisitionState GetAcquisitionState() const override;
  void StartAcquisition(std::optional<long> frames) override;
  void StopAcquisition() override;

 private:
  struct BRIO_HIDDEN Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vireo::genicam

extern "C" {

/// A new adapter, not connected. The caller ends it with `destroyAdapter`.
BRIO_EXPORT vireo::common::AdapterBase* CreateAdapter();

/// Ends an adapter that `CreateAdapter` made, disconnecting it first; null is ignored.
BRIO_EXPORT void destroyAdapter(vireo::common::AdapterBase* adapter);
}

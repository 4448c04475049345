// SPDX-License-Identifier: MIT
#include "vireo/genicam/adapter.h"

#include <arv.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

#include "adapter_impl.h"
#include "brio/fnd/log.h"
#include "feature_access.h"
#include "parameter_report.h"
#include "pixel_type.h"
#include "vireo/genicam/xml_parser.h"

// Every statement of the adapter that logs stands in this file: a record names the file it came from.

namespace vireo::genicam {

using vireo::common::ParameterMetadata;
using vireo::common::TimeNow;

namespace {

constexpr std::int32_t streamBuffers = 10;
constexpr std::uint64_t frameWaitMicroseconds = 100000;
constexpr std::chrono::seconds signalWait(1);

/// Threads inside `onControlLost`, of any adapter.
std::atomic<int> controlLossesReported{0};

// The camera library calls this on a thread of its own at any time while connected.
void onControlLost(ArvDevice*, void* userData) {
  if (userData == nullptr) return;
  const CountedIn reporting(controlLossesReported);
  static_cast<std::atomic<bool>*>(userData)->exchange(true);
  try {
    BRIO_LOG_WARNING("GenICamAdapter: camera control lost");
  } catch (...) {  // nothing may be thrown through the library that called
  }
}

unsigned referencesTo(ArvDevice* device) {
  return static_cast<unsigned>(g_atomic_int_get(&G_OBJECT(device)->ref_count));
}

std::span<const std::uint8_t> imageBytes(ArvBuffer* buffer, ArvBufferStatus status) {
  if (status != ARV_BUFFER_STATUS_SUCCESS) return {};
  std::size_t size = 0;
  const void* const data = arv_buffer_get_data(buffer, &size);
  return {static_cast<const std::uint8_t*>(data), size};
}

}  // namespace

// ---- The adapter object

GenICamAdapter::GenICamAdapter() : impl_(std::make_unique<Impl>()) {
  impl_->bufferCount = streamBuffers;
}

GenICamAdapter::~GenICamAdapter() {
  GenICamAdapter::Disconnect();
}

bool GenICamAdapter::IsConnected() const {
  return impl_->connected;
}

std::string GenICamAdapter::GetProtocol() const {
  return "genicam";
}

void GenICamAdapter::Impl::checkError(GErrorGuard& error, const std::string& context) {
  if (error.error == nullptr) return;
  const std::string text = context + ": " + error.message();
  BRIO_LOG_ERROR("{}", text);
  throw std::runtime_error(text);
}

void GenICamAdapter::Impl::checkErrorSoft(GErrorGuard& error, const std::string& context) {
  if (error.error == nullptr) return;
  throw std::runtime_error(context + ": " + error.message());
}

void GenICamAdapter::Impl::requireUsable() const {
  if (!isUsable()) throw std::runtime_error("GenICamAdapter: not connected");
}

// ---- Connection

std::map<std::string, Parameter> GenICamAdapter::Connect() {
  BRIO_TRACE_SCOPE();
  const std::lock_guard control(impl_->control);
  Disconnect();

  const std::string address = ResolveAddress(cameraAddress, true);
  const std::string shownAddress = address.empty() ? "(auto)" : address;
  BRIO_LOG_INFO("GenICamAdapter: connecting to '{}'", shownAddress);

  const auto start = std::chrono::steady_clock::now();
  std::string lastError;
  while (impl_->device == nullptr) {
    GErrorGuard error;
    impl_->exchangeDevice(arv_open_device(address.empty() ? nullptr : address.c_str(), &error.error));
    if (impl_->device != nullptr) break;
    if (error.error != nullptr) lastError = error.message();
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    if (elapsed.count() > connectTimeout * 1e9) {
      throw std::runtime_error("GenICamAdapter: connection timeout" +
                               (lastError.empty() ? lastError : ": " + lastError));
    }
    BRIO_LOG_DEBUG("GenICamAdapter: device '{}' not found, retrying...", shownAddress);
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
  impl_->watchControl();

  impl_->loadNodeMapFromDevice();
  impl_->scanParameters();
  std::map<std::string, Parameter> catalogue;
  for (const auto& [name, node] : impl_->nodeMap) {
    const NodeType kind = getNodeType(node);
    if (kind == NodeType::Command || kind == NodeType::Category) continue;
    catalogue[name] = nodeToParameter(node);
    BRIO_LOG_DEBUG("GenICamAdapter: param '{}' (camera-native)", name);
  }

  if (const auto* payload = findNodeAs<IntegerNode>(impl_->nodeMap, "PayloadSize")) {
    impl_->payloadSize = static_cast<std::uint64_t>(payload->value);
  }
  if (impl_->payloadSize == 0) impl_->payloadSize = GetBasicParams().frameSize;

  GErrorGuard lockError;
  arv_device_set_integer_feature_value(impl_->device, "TLParamsLocked", 0, &lockError.error);
  if (lockError.error != nullptr) {
    BRIO_LOG_DEBUG("GenICamAdapter: TLParamsLocked unlock: {}", lockError.message());
  } else {
    BRIO_LOG_DEBUG("GenICamAdapter: TLParamsLocked cleared");
  }

  impl_->connected = true;
  BRIO_LOG_INFO("GenICamAdapter: connected, {} nodes, payload={} bytes", impl_->nodeMap.size(),
                impl_->payloadSize);
  return catalogue;
}

void GenICamAdapter::Impl::watchControl() {
  if (!ARV_IS_DEVICE(device)) {
    const GObjectGuard<ArvDevice> invalid(exchangeDevice(nullptr));
    controlLostHandlerId = 0;
    throw std::runtime_error("GenICamAdapter: invalid device handle");
  }
  deviceReferences = referencesTo(device);
  controlLostHandlerId =
      g_signal_connect_data(device, "control-lost", G_CALLBACK(onControlLost), &controlLost, nullptr, {});
  controlLost = false;
}

void GenICamAdapter::Impl::loadNodeMapFromDevice() {
  std::size_t size = 0;
  const char* const xml = arv_device_get_genicam_xml(device, &size);
  if (xml == nullptr || size == 0) {
    BRIO_LOG_WARNING("GenICamAdapter: no GenICam XML from device");
    return;
  }
  nodeMap = XmlParser::parse(std::string(xml, size));
  BRIO_LOG_INFO("GenICamAdapter: parsed {} nodes from device XML", nodeMap.size());
}

CheckResult GenICamAdapter::CheckConnection() const {
  BRIO_TRACE_SCOPE();
  const std::lock_guard lock(impl_->deviceMutex);
  CheckResult result;
  if (!impl_->isUsable()) {
    result.messages.emplace_back("GenICamAdapter is not connected");
  } else if (impl_->controlLost) {
    result.messages.emplace_back("Camera control lost (signal received)");
  } else if (!ARV_IS_DEVICE(impl_->device)) {
    result.messages.emplace_back("Invalid device handle");
  } else {
    result.ok = true;
  }
  return result;
}

void GenICamAdapter::Disconnect() {
  BRIO_TRACE_SCOPE();
  const std::lock_guard control(impl_->control);
  if (impl_->acquiring) StopAcquisition();
  ++impl_->acquisition;
  impl_->stream.release();
  impl_->releaseDevice();
  impl_->nodeMap.clear();
  impl_->connected = false;
}

ArvDevice* GenICamAdapter::Impl::exchangeDevice(ArvDevice* replacement) {
  const std::lock_guard lock(deviceMutex);
  return std::exchange(device, replacement);
}

void GenICamAdapter::Impl::releaseDevice() {
  const GObjectGuard<ArvDevice> released(exchangeDevice(nullptr));
  if (!released) return;
  // By its id: somebody else may hold the device too, and its signal must not reach a dead adapter.
  g_clear_signal_handler(&controlLostHandlerId, released.get());
  awaitSignalInFlight(released.get());
}

// A signal on its way holds the device too. Were its reference the last, the camera library's own thread
// would end the device and wait for itself. A signal that begins from here on finds no handler and holds
// nothing.
void GenICamAdapter::Impl::awaitSignalInFlight(ArvDevice* released) const {
  const auto end = std::chrono::steady_clock::now() + signalWait;
  const auto isHeld = [&] {
    return referencesTo(released) > deviceReferences && std::chrono::steady_clock::now() < end;
  };
  while (controlLossesReported > 0 || isHeld()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// ---- Parameters

void GenICamAdapter::Impl::scanParameters() {
  if (device == nullptr) return;
  for (auto& [name, node] : nodeMap) {
    GErrorGuard error;
    const NodeType kind = getNodeType(node);
    if (kind == NodeType::Command || kind == NodeType::Category) continue;
    const AccessMode mode = getAccessMode(node);
    if (mode == AccessMode::WriteOnly || mode == AccessMode::NotAvailable) continue;
    if (kind > NodeType::Enumeration) continue;
    try {
      const char* const text = readFeature(name, node, kind, error);
      if (text != nullptr) storeText(node, kind, text);
      if (error.error != nullptr && kind == NodeType::Integer) {
        BRIO_LOG_DEBUG("GenICamAdapter: failed to read integer '{}': {}", name, error.message());
      } else if (error.error != nullptr && kind == NodeType::Float) {
        BRIO_LOG_DEBUG("GenICamAdapter: failed to read float '{}': {}", name, error.message());
      }
      refreshFeatureBounds(name, node, kind);
    } catch (const std::exception& failure) {
      BRIO_LOG_DEBUG("GenICamAdapter: error reading '{}': {}", name, failure.what());
    }
  }
}

const char* GenICamAdapter::Impl::readFeature(const std::string& name, NodeVariant& node, NodeType kind,
                                              GErrorGuard& error) {
  const std::lock_guard lock(control);
  return readValue(device, name, node, kind, error);
}

void GenICamAdapter::Impl::refreshFeatureBounds(const std::string& name, NodeVariant& node, NodeType kind) {
  const std::lock_guard lock(control);
  refreshBounds(device, name, node, kind);
}

void GenICamAdapter::Impl::sendFeature(const std::string& name, const FeatureValue& value,
                                       GErrorGuard& error) {
  const std::lock_guard lock(control);
  sendValue(device, name, value, error);
}

NodeVariant& GenICamAdapter::Impl::findNode(const std::string& name) {
  const auto found = nodeMap.find(name);
  if (found == nodeMap.end()) throw std::runtime_error("Parameter not found: " + name);
  return found->second;
}

Parameter GenICamAdapter::Read(const std::string& name) {
  BRIO_TRACE_SCOPE();
  impl_->requireUsable();
  NodeVariant& node = impl_->findNode(name);
  GErrorGuard error;
  const NodeType kind = getNodeType(node);
  if (kind > NodeType::Command) throw std::runtime_error("Unsupported node type for read: " + name);
  const char* const text = impl_->readFeature(name, node, kind, error);
  Impl::checkErrorSoft(error, readContext(kind, name));
  if (text != nullptr) storeText(node, kind, text);
  return nodeToParameter(node);
}

std::vector<Parameter> GenICamAdapter::Read(const std::vector<std::string>& names) {
  BRIO_TRACE_SCOPE();
  std::vector<Parameter> parameters;
  parameters.reserve(names.size());
  for (const std::string& name : names) parameters.push_back(Read(name));
  return parameters;
}

void GenICamAdapter::Write(const Parameter& parameter) {
  BRIO_TRACE_SCOPE();
  impl_->requireUsable();
  const std::string name = parameter.GetName();
  NodeVariant& node = impl_->findNode(name);
  if (getAccessMode(node) == AccessMode::ReadOnly) {
    throw std::runtime_error("Parameter '" + name + "' is read-only");
  }
  GErrorGuard error;
  const NodeType kind = getNodeType(node);
  if (kind > NodeType::Command) throw std::runtime_error("Unsupported node type for write: " + name);
  const FeatureValue value = toFeatureValue(parameter, kind);
  impl_->sendFeature(name, value, error);
  Impl::checkErrorSoft(error, writeContext(kind, name));
  storeValue(node, kind, value);
  BRIO_LOG_DEBUG("GenICamAdapter: wrote '{}' = '{}'", name, parameter.GetValueAsString());
}

void GenICamAdapter::Write(const std::vector<Parameter>& parameters) {
  BRIO_TRACE_SCOPE();
  for (const Parameter& parameter : parameters) Write(parameter);
}

std::vector<Parameter> GenICamAdapter::Scan() {
  BRIO_TRACE_SCOPE();
  impl_->requireUsable();
  impl_->scanParameters();
  std::vector<Parameter> parameters;
  parameters.reserve(impl_->nodeMap.size());
  for (const auto& [name, node] : impl_->nodeMap) {
    const NodeType kind = getNodeType(node);
    if (kind == NodeType::Command || kind == NodeType::Category) continue;
    if (getAccessMode(node) == AccessMode::WriteOnly) continue;
    Parameter parameter = withExactType(nodeToParameter(node));
    parameter.name = name;
    parameter.metadata = nodeMetadata(name, node);
    parameters.push_back(std::move(parameter));
  }
  return parameters;
}

NativeDocument GenICamAdapter::GetNativeParameterDocument() const {
  BRIO_TRACE_SCOPE();
  if (!impl_->isUsable()) return {};
  std::size_t size = 0;
  const char* const xml = arv_device_get_genicam_xml(impl_->device, &size);
  if (xml == nullptr || size == 0) return {};
  return {std::string(xml, size), ".xml"};
}

BasicParams GenICamAdapter::GetBasicParams() const {
  BRIO_TRACE_SCOPE();
  return basicParams(impl_->nodeMap, impl_->payloadSize);
}

// ---- Acquisition

void GenICamAdapter::StartAcquisition(std::optional<long> frames) {
  BRIO_TRACE_SCOPE();
  const std::lock_guard control(impl_->control);
  impl_->requireUsable();
  impl_->scanParameters();

  const std::uint64_t payload = impl_->askPayloadSize();
  impl_->requireBufferMemory(payload);
  const bool payloadChanged = std::exchange(impl_->payloadSize, payload) != payload;
  if (payloadChanged && impl_->stream.get() != nullptr) {
    BRIO_LOG_INFO("GenICamAdapter: payload changed to {} bytes, recreating stream", payload);
    impl_->stream.release();
  }
  if (impl_->stream.get() == nullptr) impl_->createStream();

  impl_->resetAcquisition(frames);
  if (impl_->acquisitionMode == AcquisitionMode::Finite) {
    BRIO_LOG_INFO("GenICamAdapter: starting finite acquisition ({} frames)", *frames);
  } else {
    BRIO_LOG_INFO("GenICamAdapter: starting continuous acquisition");
  }
  impl_->pushBuffers();

  GErrorGuard error;
  arv_device_execute_command(impl_->device, "AcquisitionStart", &error.error);
  Impl::checkError(error, "Execute AcquisitionStart");
  impl_->acquiring = true;
  acquisitionActive = true;
}

std::uint64_t GenICamAdapter::Impl::askPayloadSize() {
  if (!nodeMap.contains("PayloadSize")) return payloadSize;
  GErrorGuard error;
  const std::int64_t size = arv_device_get_integer_feature_value(device, "PayloadSize", &error.error);
  if (error.error != nullptr || size <= 0) return payloadSize;
  if (auto* node = findNodeAs<IntegerNode>(nodeMap, "PayloadSize")) node->value = size;
  return static_cast<std::uint64_t>(size);
}

// The camera library ends the process when it finds no memory for a buffer; a camera that states an absurd
// payload must not.
void GenICamAdapter::Impl::requireBufferMemory(std::uint64_t payload) const {
  const auto pages = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES));
  const auto memory = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  if (payload > memory / static_cast<std::uint64_t>(bufferCount)) {
    throw std::runtime_error("GenICamAdapter: no memory for " + std::to_string(bufferCount) +
                             " frame buffers of " + std::to_string(payload) +
                             " bytes each; check the camera's PayloadSize");
  }
}

void GenICamAdapter::Impl::createStream() {
  if (device == nullptr) throw std::runtime_error("GenICamAdapter: no device for stream creation");
  GErrorGuard error;
  stream.put(arv_device_create_stream(device, nullptr, nullptr, &error.error));
  checkError(error, "Create stream");
  if (stream.get() == nullptr) throw std::runtime_error("GenICamAdapter: failed to create stream");
  BRIO_LOG_INFO("GenICamAdapter: stream created");
}

// Away from the receiving thread: no frame of the earlier acquisition is counted in this one.
void GenICamAdapter::Impl::resetAcquisition(std::optional<long> frames) {
  stream.takeBack();
  ++acquisition;
  frameTarget.store(frames);
  framesReceived = 0;
  frameRate = 0.0;
  acquisitionStartTime = std::chrono::steady_clock::now();
  acquisitionMode = frames.value_or(0) > 0 ? AcquisitionMode::Finite : AcquisitionMode::Continuous;
  stream.lend();
}

void GenICamAdapter::Impl::pushBuffers() {
  for (std::int32_t i = 0; i < bufferCount; ++i) {
    arv_stream_push_buffer(stream.get(), arv_buffer_new(payloadSize, nullptr));
  }
  BRIO_LOG_DEBUG("GenICamAdapter: pushed {} buffers ({} bytes each)", bufferCount, payloadSize);
}

void GenICamAdapter::ReceiveFrame(bool& received, uint64_t, std::span<uint8_t>& buffer, FrameInfo& info) {
  BRIO_TRACE_SCOPE();
  received = false;
  if (!impl_->connected) return;
  StreamHandle::Lease lease(impl_->stream);
  if (lease.stream() == nullptr) return;
  PoppedBuffer frame(lease.stream(), frameWaitMicroseconds);
  if (frame.get() == nullptr) return;

  const ArvBufferStatus status = arv_buffer_get_status(frame.get());
  const std::span<const std::uint8_t> image = imageBytes(frame.get(), status);
  if (status != ARV_BUFFER_STATUS_SUCCESS || (image.data() == nullptr && !image.empty())) {
    BRIO_LOG_DEBUG("GenICamAdapter: buffer status={}, recycling", static_cast<int>(status));
    return;
  }
  if (image.size() > buffer.size()) {
    BRIO_LOG_ERROR("GenICamAdapter: frame too large ({} > {})", image.size(), buffer.size());
    return;
  }
  if (!image.empty()) std::memcpy(buffer.data(), image.data(), image.size());
  impl_->fillInfo(frame.get(), image.size(), info);
  frame.giveBack();

  // The token first: a stop changes the mode before it, so what is complete is the run of this token.
  const std::uint64_t acquisition = impl_->acquisition;
  const std::int64_t count = impl_->countFrame();
  const bool complete = impl_->isComplete(count);
  lease.end();
  if (complete) {
    // The host may be starting, stopping or disconnecting: once it is done, this run may not be there any
    // more.
    const std::lock_guard control(impl_->control);
    if (impl_->acquisition == acquisition) {
      BRIO_LOG_INFO("GenICamAdapter: finite acquisition complete ({} frames)", count);
      StopAcquisition();
    }
  }
  lastFrameTime = TimeNow();
  received = true;
}

void GenICamAdapter::Impl::fillInfo(ArvBuffer* buffer, std::uint64_t size, FrameInfo& info) {
  info.width = arv_buffer_get_image_width(buffer);
  info.height = arv_buffer_get_image_height(buffer);
  info.offsetX = arv_buffer_get_image_x(buffer);
  info.offsetY = arv_buffer_get_image_y(buffer);
  info.frameId = arv_buffer_get_frame_id(buffer);
  info.timestamp = arv_buffer_get_timestamp(buffer);
  info.size = size;
  if (auto* exposure = findNodeAs<FloatNode>(nodeMap, "ExposureTime"))
    info.exposureTime = loadFloat(*exposure);
  info.dataType = elementType(arv_buffer_get_image_pixel_format(buffer));
}

std::int64_t GenICamAdapter::Impl::countFrame() {
  const std::int64_t count = framesReceived.fetch_add(1) + 1;
  const auto elapsed = std::chrono::steady_clock::now() - acquisitionStartTime;
  const double seconds =
      static_cast<double>(std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count()) / 1e9;
  if (seconds > 0.0) frameRate = static_cast<double>(count) / seconds;
  return count;
}

bool GenICamAdapter::Impl::isComplete(std::int64_t count) const {
  if (acquisitionMode != AcquisitionMode::Finite) return false;
  const std::optional<std::int64_t> target = frameTarget.load();
  return target && *target <= count;
}

void GenICamAdapter::StopAcquisition() {
  BRIO_TRACE_SCOPE();
  const std::lock_guard control(impl_->control);
  if (impl_->device == nullptr) return;
  acquisitionActive = false;
  GErrorGuard error;
  arv_device_execute_command(impl_->device, "AcquisitionStop", &error.error);
  if (error.error != nullptr) {
    BRIO_LOG_WARNING("GenICamAdapter: AcquisitionStop error: {}", error.message());
  }
  impl_->acquiring = false;
  impl_->acquisitionMode = AcquisitionMode::Stopped;
  impl_->frameTarget.store(std::nullopt);
  ++impl_->acquisition;
  acquisitionStopTime = TimeNow();
  impl_->stream.release();
  BRIO_LOG_INFO("GenICamAdapter: acquisition stopped");
}

AcquisitionState GenICamAdapter::GetAcquisitionState() const {
  BRIO_TRACE_SCOPE();
  AcquisitionState state;
  state.mode = impl_->acquisitionMode;
  state.frameRate = impl_->frameRate;
  const std::optional<std::int64_t> target = impl_->frameTarget.load();
  if (state.mode == AcquisitionMode::Finite && target) {
    state.framesRemaining = std::max<std::int64_t>(0, *target - impl_->framesReceived);
  }
  return state;
}

}  // namespace vireo::genicam

vireo::common::AdapterBase* CreateAdapter() {
  return new vireo::genicam::GenICamAdapter();
}

void destroyAdapter(vireo::common::AdapterBase* adapter) {
  delete adapter;
}

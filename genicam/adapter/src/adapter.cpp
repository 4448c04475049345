// SPDX-License-Identifier: MIT
#include "vireo/genicam/adapter.h"

#include <arv.h>

#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "adapter_impl.h"
#include "brio/fnd/datatype_names.h"  // the library's own tables, made while it loads
#include "brio/fnd/record.h"
#include "feature_access.h"
#include "frame.h"
#include "held_signals.h"
#include "parameter_report.h"
#include "vireo/genicam/xml_parser.h"

// Every statement of the adapter that logs stands in this file: a record names the file it came from.

namespace vireo::genicam {

using vireo::common::TimeNow;

namespace {

constexpr std::int32_t streamBuffers = 10;
constexpr std::uint64_t frameWaitMicroseconds = 100000;
constexpr std::chrono::seconds signalWait(1);

// The camera library calls this on a thread of its own, or inside a call of ours, at any time while
// connected.
void onControlLost(ArvDevice*, void* userData) {
  if (userData == nullptr) return;
  ControlLoss& loss = ControlLoss::of(userData);
  ++loss.reporting;
  loss.signalled.exchange(true);
  if (!LibraryCall::defersLoss()) genicam::onControlLost();
  --loss.reporting;  // the last touch: a disconnect waits for it, and the adapter may end then
}

unsigned referencesTo(ArvDevice* device) {
  return static_cast<unsigned>(g_atomic_int_get(&G_OBJECT(device)->ref_count));
}

}  // namespace

// Named like the handler of the signal, because the record tells the function's name.
void onControlLost() noexcept {
  try {
    BRIO_LOG_WARNING("GenICamAdapter: camera control lost");
  } catch (...) {  // nothing may be thrown through the library that called
  }
}

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
  Disconnect();

  const std::string address = ResolveAddress(cameraAddress, true);
  const std::string_view shownAddress = address.empty() ? "(auto)" : std::string_view(address);
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
  impl_->sendFeature("TLParamsLocked", std::int64_t{0}, lockError);
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
  void (*const handler)(ArvDevice*, void*) = onControlLost;
  controlLostHandlerId =
      g_signal_connect_data(device, "control-lost", G_CALLBACK(handler), &controlLoss.signalled, nullptr, {});
  controlLoss.signalled = false;
}

std::string_view GenICamAdapter::Impl::description() const {
  const LibraryCall call;
  std::size_t size = 0;
  const char* const xml = arv_device_get_genicam_xml(device, &size);
  return xml == nullptr ? std::string_view() : std::string_view(xml, size);
}

void GenICamAdapter::Impl::loadNodeMapFromDevice() {
  const std::string_view xml = description();
  if (xml.empty()) {
    BRIO_LOG_WARNING("GenICamAdapter: no GenICam XML from device");
    return;
  }
  nodeMap = XmlParser::parse(std::string(xml));
  BRIO_LOG_INFO("GenICamAdapter: parsed {} nodes from device XML", nodeMap.size());
}

CheckResult GenICamAdapter::CheckConnection() const {
  BRIO_TRACE_SCOPE();
  const std::lock_guard lock(impl_->deviceMutex);
  CheckResult result;
  if (!impl_->isUsable()) {
    result.messages.emplace_back("GenICamAdapter is not connected");
  } else if (impl_->controlLoss.signalled) {
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
  if (impl_->runs.acquiring()) StopAcquisition();
  impl_->dropStream();
  impl_->releaseDevice();
  impl_->nodeMap.clear();
  impl_->connected = false;
}

ArvDevice* GenICamAdapter::Impl::exchangeDevice(ArvDevice* replacement) {
  const FeatureCall call(features);
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
  while (controlLoss.reporting > 0 || isHeld()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
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
      std::optional<std::string> text = readFeature(name, node, kind, error);
      if (text) storeText(node, kind, *std::move(text));
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

std::optional<std::string> GenICamAdapter::Impl::readFeature(const std::string& name, NodeVariant& node,
                                                             NodeType kind, GErrorGuard& error) {
  const FeatureCall call(features);
  return readValue(device, name, node, kind, error);
}

void GenICamAdapter::Impl::refreshFeatureBounds(const std::string& name, NodeVariant& node, NodeType kind) {
  const FeatureCall call(features);
  refreshBounds(device, name, node, kind);
}

void GenICamAdapter::Impl::sendFeature(const std::string& name, const FeatureValue& value,
                                       GErrorGuard& error) {
  const FeatureCall call(features);
  sendValue(device, name, value, error);
}

// The question and the command are one step: a command that is meant for an earlier run never comes after the
// start of a later one.
template <typename Question>
bool GenICamAdapter::Impl::executeIf(Question stillWanted, const char* command, GErrorGuard& error) {
  const FeatureCall call(features);
  if (device == nullptr || !stillWanted()) return false;
  arv_device_execute_command(device, command, &error.error);
  return true;
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
  std::optional<std::string> text = impl_->readFeature(name, node, kind, error);
  Impl::checkErrorSoft(error, readContext(kind, name));
  if (text) storeText(node, kind, *std::move(text));
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
  const std::string_view xml = impl_->description();
  if (xml.empty()) return {};
  return {std::string(xml), ".xml"};
}

BasicParams GenICamAdapter::GetBasicParams() const {
  BRIO_TRACE_SCOPE();
  return basicParams(impl_->nodeMap, impl_->payloadSize);
}

// ---- Acquisition

void GenICamAdapter::StartAcquisition(std::optional<long> frames) {
  BRIO_TRACE_SCOPE();
  impl_->requireUsable();
  impl_->scanParameters();

  const std::uint64_t payload = impl_->askPayloadSize();
  impl_->requireBufferMemory(payload);
  const bool payloadChanged = std::exchange(impl_->payloadSize, payload) != payload;
  AcquisitionRuns::Hold hold(impl_->runs);
  if (payloadChanged && hold.stream() != nullptr) {
    BRIO_LOG_INFO("GenICamAdapter: payload changed to {} bytes, recreating stream", payload);
    const LibraryCall call;
    hold.drop();
  }
  if (hold.stream() == nullptr) impl_->createStream(hold);

  hold.reset(frames);
  if (frames.value_or(0) > 0) {
    BRIO_LOG_INFO("GenICamAdapter: starting finite acquisition ({} frames)", *frames);
  } else {
    BRIO_LOG_INFO("GenICamAdapter: starting continuous acquisition");
  }
  impl_->pushBuffers(hold.stream());
  hold.lend();

  // A kept stream may hold frames, and a camera may be sending already: the receiving thread may end this run
  // before the camera is told to start, or while it is.
  GErrorGuard error;
  const auto isWanted = [&] { return impl_->runs.isRunning(hold.run()); };
  impl_->executeIf(isWanted, "AcquisitionStart", error);
  Impl::checkError(error, "Execute AcquisitionStart");
  impl_->runs.accept(hold.run(), [this] { acquisitionActive = true; });
}

std::uint64_t GenICamAdapter::Impl::askPayloadSize() {
  const auto found = nodeMap.find("PayloadSize");
  if (found == nodeMap.end()) return payloadSize;
  GErrorGuard error;
  std::int64_t size = 0;
  {
    const FeatureCall call(features);
    size = arv_device_get_integer_feature_value(device, "PayloadSize", &error.error);
  }
  if (error.error != nullptr || size <= 0) return payloadSize;
  if (auto* const node = std::get_if<IntegerNode>(&found->second)) node->value = size;
  return static_cast<std::uint64_t>(size);
}

// The camera library ends the process when it finds no memory for a buffer; a camera that states an absurd
// payload must not. A start that is refused for it changes nothing.
void GenICamAdapter::Impl::requireBufferMemory(std::uint64_t payload) {
  void* const memory = g_try_malloc(payload);
  g_free(memory);
  if (memory != nullptr || payload == 0) return;
  if (auto* node = findNodeAs<IntegerNode>(nodeMap, "PayloadSize")) {
    node->value = static_cast<std::int64_t>(payloadSize);
  }
  throw std::runtime_error("GenICamAdapter: no memory for a frame buffer of " + std::to_string(payload) +
                           " bytes; check the camera's PayloadSize");
}

// For a stream of a USB camera the library divides by what it reads of the camera, and a camera that is gone
// or mute ends the process. Asked at the last moment, so that little time is left for that.
void GenICamAdapter::Impl::requireUsbPayload() {
  if (!ARV_IS_UV_DEVICE(device)) return;
  if (controlLoss.signalled)
    throw std::runtime_error("GenICamAdapter: camera control lost, no stream is created");
  if (!nodeMap.contains("PayloadSize")) return;
  GErrorGuard error;
  std::int64_t size = 0;
  {
    const FeatureCall call(features);
    size = arv_device_get_integer_feature_value(device, "PayloadSize", &error.error);
  }
  checkError(error, "Create stream");
  if (size <= 0)
    throw std::runtime_error("GenICamAdapter: the camera states a PayloadSize of 0, no stream is created");
}

void GenICamAdapter::Impl::createStream(AcquisitionRuns::Hold& hold) {
  if (device == nullptr) throw std::runtime_error("GenICamAdapter: no device for stream creation");
  requireUsbPayload();
  GErrorGuard error;
  {
    const FeatureCall call(features);  // the library asks the camera for what a stream needs
    const HeldSignals held;
    hold.put(arv_device_create_stream(device, nullptr, nullptr, &error.error));
  }
  checkError(error, "Create stream");
  if (hold.stream() == nullptr) throw std::runtime_error("GenICamAdapter: failed to create stream");
  BRIO_LOG_INFO("GenICamAdapter: stream created");
}

void GenICamAdapter::Impl::dropStream() {
  const LibraryCall call;
  AcquisitionRuns::Hold(runs).drop();
}

void GenICamAdapter::Impl::pushBuffers(ArvStream* stream) {
  bufferSize = payloadSize;
  for (std::int32_t i = 0; i < bufferCount; ++i) {
    arv_stream_push_buffer(stream, arv_buffer_new(payloadSize, nullptr));
  }
  BRIO_LOG_DEBUG("GenICamAdapter: pushed {} buffers ({} bytes each)", bufferCount, payloadSize);
}

void GenICamAdapter::ReceiveFrame(bool& received, uint64_t, std::span<uint8_t>& buffer, FrameInfo& info) {
  BRIO_TRACE_SCOPE();
  received = false;
  if (!impl_->connected) return;
  AcquisitionRuns::Loan loan(impl_->runs);
  if (loan.stream() == nullptr) return;
  const FrameResult frame =
      takeFrame(loan.stream(), frameWaitMicroseconds, impl_->bufferSize, buffer, impl_->nodeMap, info);
  // The loan ends before host code runs: whoever stops waits for it, and may hold a lock that a logger or an
  // override wants.
  if (frame.outcome != FrameResult::Copied) {
    loan.end();
    if (frame.outcome == FrameResult::Bad) {
      BRIO_LOG_DEBUG("GenICamAdapter: buffer status={}, recycling", static_cast<int>(frame.status));
    } else if (frame.outcome == FrameResult::TooLarge) {
      // Hosts read this text to learn the size that they need.
      BRIO_LOG_ERROR("GenICamAdapter: frame too large ({} > {})", frame.size, buffer.size());
    }
    return;
  }
  const AcquisitionRuns::Delivery delivery = loan.deliver();
  // The controlling thread may have stopped or restarted meanwhile; what it began is not this run's to end.
  if (delivery.complete && impl_->runs.isCurrent(delivery.run)) {
    BRIO_LOG_INFO("GenICamAdapter: finite acquisition complete ({} frames)", delivery.count);
    const CompletedRun::Scope completing(impl_->completed, delivery.run);
    StopAcquisition();
  }
  lastFrameTime = TimeNow();
  received = true;
}

void GenICamAdapter::StopAcquisition() {
  BRIO_TRACE_SCOPE();
  const std::optional<AcquisitionRuns::Run> completed = impl_->completed.take();
  GErrorGuard error;
  const auto isWanted = [&] {
    return impl_->runs.beginEnd(completed, [this] { acquisitionActive = false; });
  };
  if (!impl_->executeIf(isWanted, "AcquisitionStop", error)) return;
  if (error.error != nullptr) {
    BRIO_LOG_WARNING("GenICamAdapter: AcquisitionStop error: {}", error.message());
  }
  const std::uint64_t now = TimeNow();
  bool ended = false;
  {
    const LibraryCall call;
    ended = impl_->runs.end(completed, [&] { acquisitionStopTime = now; });
  }
  if (ended) BRIO_LOG_INFO("GenICamAdapter: acquisition stopped");
}

AcquisitionState GenICamAdapter::GetAcquisitionState() const {
  BRIO_TRACE_SCOPE();
  return impl_->runs.state();
}

}  // namespace vireo::genicam

vireo::common::AdapterBase* CreateAdapter() {
  return new vireo::genicam::GenICamAdapter();
}

void destroyAdapter(vireo::common::AdapterBase* adapter) {
  delete adapter;
}

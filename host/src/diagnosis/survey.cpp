// SPDX-License-Identifier: MIT
#include "diagnosis/survey.h"

#include <fmt/format.h>
#include <netdb.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

#include "camera/local_cameras.h"
#include "evidence/routes.h"
#include "terminal/ipv4.h"

namespace vireo::host {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds registerPatience(1500);
constexpr milliseconds afterHeartbeat(700);  // until the camera has noticed that its controller is gone

std::optional<std::uint32_t> addressOfHost(const std::string& name) {
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  addrinfo* found = nullptr;
  if (name.empty() || getaddrinfo(name.c_str(), nullptr, &wanted, &found) != 0) return std::nullopt;
  sockaddr_in internet{};
  std::memcpy(&internet, found->ai_addr, sizeof internet);
  freeaddrinfo(found);
  return ntohl(internet.sin_addr.s_addr);
}

// Names that the camera library takes, but does not list.
std::optional<std::uint32_t> addressOfNamed(const std::string& name) {
  for (const GigeCamera& camera : name.empty() ? std::vector<GigeCamera>() : FindGigeCameras())
    if (IsNamed(camera, name) && camera.IsNear()) return camera.network.address;
  return std::nullopt;
}

bool isMeant(const FoundCamera& camera, const std::string& asked) {
  return asked.empty() || camera.id == asked || camera.address == asked || camera.serial == asked ||
         (!camera.id.empty() && camera.id.find(asked) != std::string::npos);
}

// Which camera the options mean, as far as that can be told without opening it.
void findTarget(const CameraOptions& options, Facts& facts) {
  if (options.simulate) {
    facts.option = "--simulate ";
    facts.link = LinkKind::InProcess;
    return;
  }
  facts.name = options.address;
  if (!options.address.empty()) facts.option = fmt::format("-a {} ", options.address);
  auto address = Ipv4From(options.address);
  if (!address) {
    for (const FoundCamera& camera : FindCameras()) {
      if (!isMeant(camera, options.address)) continue;
      if (camera.protocol == "USB3Vision") facts.link = LinkKind::Usb;
      address = Ipv4From(camera.address);
      break;
    }
    if (!address && facts.link == LinkKind::Unknown) address = addressOfNamed(options.address);
    if (!address && facts.link == LinkKind::Unknown) address = addressOfHost(options.address);
  }
  if (!address) return;
  facts.link = LinkKind::Gige;
  facts.path.address = *address;
}

void findPath(const SystemFiles& files, PathFacts& path) {
  const auto own = std::find_if(path.here.begin(), path.here.end(), [&](const NetworkPort& here) {
    const std::uint32_t address = here.network.address;
    return address == path.address || (address >> 24 == 127 && path.address >> 24 == 127);
  });
  if (own != path.here.end()) {
    path.interface = StateOf(files, "lo");
  } else if (const auto route = RouteTo(Routes(files), path.address)) {
    path.interface = StateOf(files, route->interface);
    path.hasGateway = route->gateway != 0;
  }
}

void askCamera(Facts& facts) {
  GvcpClient camera(facts.path.address);
  PathFacts& path = facts.path;
  for (int attempt = 0; attempt < 2 && !path.answers && !path.portClosed && path.sendError == 0; ++attempt) {
    const GvcpClient::Answer answer = camera.Read(gvcp::controlPrivilege, registerPatience);
    path.answers = answer.answered;
    path.portClosed = answer.portClosed;
    path.sendError = answer.sendError;
  }
  if (facts.path.answers) facts.registers = ReadRegisters(camera, registerPatience, facts.answers);
}

// A camera stays controlled by a program that was killed until it has missed the heartbeat for a while.
bool isControlled(Facts& facts) {
  const auto privilege = [&] { return facts.registers.controlPrivilege.value_or(0) != 0; };
  GvcpClient camera(facts.path.address);
  const milliseconds patience =
      std::min(milliseconds(facts.registers.heartbeatTimeout.value_or(3000)), milliseconds(5000)) +
      afterHeartbeat;
  const auto end = std::chrono::steady_clock::now() + patience;
  while (privilege() && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(milliseconds(200));
    const GvcpClient::Answer answer = camera.Read(gvcp::controlPrivilege, registerPatience);
    if (answer.value) facts.registers.controlPrivilege = answer.value;
  }
  return privilege();
}

}  // namespace

CameraRegisters ReadRegisters(GvcpClient& camera, milliseconds patience, AnswerTimes& times) {
  CameraRegisters registers;
  const std::pair<std::uint32_t, std::optional<std::uint32_t>*> wanted[] = {
      {gvcp::capability, &registers.capability},
      {gvcp::heartbeatTimeout, &registers.heartbeatTimeout},
      {gvcp::controlPrivilege, &registers.controlPrivilege},
      {gvcp::primaryApplication, &registers.primaryApplication},
      {gvcp::streamPort, &registers.streamPort},
      {gvcp::streamPacketSize, &registers.packetSize},
      {gvcp::streamPacketDelay, &registers.packetDelay},
      {gvcp::streamDestination, &registers.streamDestination},
      {gvcp::tickFrequencyLow, &registers.tickFrequency},
  };
  int inVain = 0;
  for (const auto& [address, value] : wanted) {
    const GvcpClient::Answer answer = camera.Read(address, patience);
    *value = answer.value;
    if (answer.answered) times.milliseconds.push_back(answer.milliseconds);
    times.unanswered += answer.answered ? 0 : 1;
    inVain = answer.answered ? 0 : inVain + 1;
    if (inVain == 2) break;  // it is gone, and would take the patience for each
  }
  if (registers.packetSize) *registers.packetSize &= 0xffff;
  return registers;
}

Facts Survey(const CameraOptions& options, const SystemFiles& files) {
  Facts facts;
  facts.path.here = NetworkPorts();
  facts.path.down = NetworkPortsThatAreDown();
  facts.buffers = BufferLimitsOf(files);
  facts.usbCameras = UsbCameras(files);
  facts.usbMemoryMegabytes = UsbMemoryMegabytes(files);
  const ProtocolCounters before = ProtocolCountersNow(files);
  findTarget(options, facts);
  if (facts.link == LinkKind::Gige) {
    findPath(files, facts.path);
    askCamera(facts);
  }
  const bool isMissing = facts.link == LinkKind::Gige ? !facts.path.answers : facts.link == LinkKind::Unknown;
  if (isMissing) {
    facts.path.asked = true;
    facts.path.discovered = FindGigeCameras();
  }
  const ProtocolCounters counted = ProtocolCountersNow(files) - before;
  facts.path.reversePathDrops = counted.reversePathDrops;
  facts.path.filtered = counted.Filtered();
  if (facts.path.answers) facts.isBusy = isControlled(facts);
  return facts;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "diagnosis/receiving.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "camera/stream.h"
#include "diagnosis/survey.h"
#include "terminal/interrupt.h"

namespace vireo::host {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds askPeriod(300);
constexpr milliseconds askPatience(1000);
constexpr milliseconds lastPatience(400);
constexpr int lastReads = 5;
constexpr milliseconds quietTime(300);
constexpr std::size_t payloadNotSupported = 8;  // buffer statuses of the camera library
constexpr std::size_t sizeMismatch = 5;

// Reads the camera's registers again and again beside the program that receives, on a thread of its own: an
// answer that is late must not delay frames.
class RegisterWatch {
 public:
  explicit RegisterWatch(std::uint32_t address) : client_(address), thread_([this] { run(); }) {}
  ~RegisterWatch() { End(); }
  RegisterWatch(const RegisterWatch&) = delete;
  RegisterWatch& operator=(const RegisterWatch&) = delete;

  // Ends the thread; then the results may be read.
  void End() {
    {
      const std::lock_guard lock(mutex_);
      ended_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
  }
  // The last ones while the stream had a port.
  const CameraRegisters& Registers() const { return registers_; }
  const AnswerTimes& Times() const { return times_; }

 private:
  void run() {
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, askPeriod, [this] { return ended_; })) {
      lock.unlock();
      const CameraRegisters now = ReadRegisters(client_, askPatience, times_);
      if (now.streamPort.value_or(0) != 0) registers_ = now;
      lock.lock();
    }
  }

  GvcpClient client_;
  CameraRegisters registers_;
  AnswerTimes times_;
  std::mutex mutex_;  // for `ended_`
  std::condition_variable changed_;
  bool ended_ = false;
  std::thread thread_;  // the last one: it uses the others
};

// What the system counts from the first look to the last.
class CounterWatch {
 public:
  CounterWatch(const SystemFiles& files, std::string interface)
      : files_(files), interface_(std::move(interface)) {}

  void Look() {
    const Clock::time_point now = Clock::now();
    const InterfaceCounters interface = CountersOf(files_, interface_);
    const ProtocolCounters protocols = ProtocolCountersNow(files_);
    if (!begun_) {
      begun_ = now;
      firstInterface_ = interface;
      firstProtocols_ = protocols;
    }
    last_ = now;
    lastInterface_ = interface;
    lastProtocols_ = protocols;
    lookAtSockets();
  }

  double Seconds() const { return begun_ ? std::chrono::duration<double>(last_ - *begun_).count() : 0.0; }

  void WriteTo(Reception& reception) const {
    if (!begun_) return;
    reception.interface = lastInterface_ - firstInterface_;
    reception.protocols = lastProtocols_ - firstProtocols_;
    reception.packetSocket = packetSocket_;
    const auto port = static_cast<std::uint16_t>(reception.during.streamPort.value_or(0));
    if (port == 0 || own_.empty()) return;
    reception.portIsOurs = false;
    for (const UdpSocket& socket : own_) {
      if (socket.port != port) continue;
      reception.portIsOurs = true;
      reception.socketDrops = socket.drops;
      reception.socketBuffer = buffers_.at(socket.inode);
    }
  }

 private:
  void lookAtSockets() {
    const std::set<std::uint64_t> inodes = OwnSockets();
    own_.clear();
    for (const UdpSocket& socket : UdpSockets(files_)) {
      if (!inodes.contains(socket.inode)) continue;
      own_.push_back(socket);
      buffers_[socket.inode] = ReceiveBufferOf(socket.inode).value_or(0);
    }
    for (const std::uint64_t inode : PacketSockets(files_))
      packetSocket_ = packetSocket_ || inodes.contains(inode);
  }

  const SystemFiles& files_;
  const std::string interface_;
  std::optional<Clock::time_point> begun_;
  Clock::time_point last_;
  InterfaceCounters firstInterface_;
  InterfaceCounters lastInterface_;
  ProtocolCounters firstProtocols_;
  ProtocolCounters lastProtocols_;
  bool packetSocket_ = false;
  std::vector<UdpSocket> own_;
  std::map<std::uint64_t, std::int64_t> buffers_;
};

std::string badKinds(const StreamStatistics& statistics) {
  std::vector<std::string> kinds;
  for (std::size_t i = 0; i < HostLogger::statusCount; ++i) {
    const std::uint64_t count = statistics.Faults().byStatus[i];
    if (count != 0) kinds.push_back(fmt::format("{} {}", count, BufferStatusName(i)));
  }
  if (statistics.Truncated() != 0) kinds.push_back(fmt::format("{} truncated", statistics.Truncated()));
  return fmt::format("{}", fmt::join(kinds, ", "));
}

void writeStatistics(const StreamStatistics& statistics, Reception& reception) {
  const HostLogger::FrameFaults& faults = statistics.Faults();
  reception.frames = statistics.Frames();
  reception.bad = statistics.Bad();
  reception.badKinds = badKinds(statistics);
  // The library gives a truncated frame for a whole one: no packet of it was lost.
  reception.refused = faults.oversized + faults.byStatus[payloadNotSupported] +
                      faults.byStatus[sizeMismatch] + statistics.Truncated();
  // Incomplete frames leave gaps in the ids as well; here they count once.
  reception.lost = statistics.Lost() > reception.bad ? statistics.Lost() - reception.bad : 0;
  reception.rate = statistics.FrameRate();
}

// The library notices late that a camera is gone. What goes out while nobody receives is other programs'.
void lookAfterwards(const Facts& facts, const SystemFiles& files, Reception& reception) {
  GvcpClient camera(facts.path.address);
  reception.answersAfter = false;
  for (int i = 0; i < lastReads && !reception.answersAfter; ++i)
    reception.answersAfter = camera.Read(gvcp::controlPrivilege, lastPatience).answered;
  reception.hasLinkAfter = StateOf(files, facts.path.interface.name).hasLink;
  const std::int64_t before = ProtocolCountersNow(files).datagramsSent;
  std::this_thread::sleep_for(quietTime);
  const std::int64_t sent = ProtocolCountersNow(files).datagramsSent - before;
  const double ownBeats = 1.0;
  reception.othersDatagrams =
      std::max(static_cast<double>(sent) - ownBeats, 0.0) / std::chrono::duration<double>(quietTime).count();
}

}  // namespace

Reception Receive(Camera& camera, const Facts& facts, const SystemFiles& files, double seconds) {
  Reception reception;
  std::optional<RegisterWatch> registers;
  CounterWatch counters(files, facts.path.interface.name);
  // A start takes long where answers are late: the time begins behind it, and so does the look at registers
  // that the start writes.
  StreamOptions options;
  options.patience = 0.0;
  std::optional<Clock::time_point> started;
  options.enough = [&] {
    const Clock::time_point now = Clock::now();
    if (!started) started = now;
    reception.seconds = std::chrono::duration<double>(now - *started).count();
    return counters.Seconds() >= seconds;
  };
  FrameStream stream(camera, options);
  stream.OnProgress([&](const FrameStream&) {
    counters.Look();
    if (facts.link == LinkKind::Gige && !registers) registers.emplace(facts.path.address);
  });
  try {
    stream.Run([](const common::FrameInfo&, std::vector<std::uint8_t>&) { return true; });
  } catch (const std::exception& error) {
    const Failure failure = camera.FailureBehind(error);
    reception.linkLost = failure.status == ExitStatus::LinkLost;
    reception.failure = failure.what();
  }
  reception.countedSeconds = counters.Seconds();
  if (registers) {
    registers->End();
    reception.during = registers->Registers();
    reception.answers = registers->Times();
  }
  writeStatistics(stream.Statistics(), reception);
  counters.WriteTo(reception);
  if (facts.link == LinkKind::Gige) lookAfterwards(facts, files, reception);
  return reception;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "simulator/faults/fault_script.h"
#include "simulator/gige/gvcp_server.h"
#include "simulator/gige/network_interface.h"
#include "simulator/gige/packet_sender.h"

namespace vireo::simulator {

struct GigeOptions {
  std::string interface = "127.0.0.1";          // as FindInterface takes it
  std::string faults;                           // as FaultScript takes it
  std::uint32_t mtu = 0;                        // packets that are larger are dropped; 0: none is
  std::uint64_t bitsPerSecond = 1'000'000'000;  // of the link; 0: as fast as it goes
  std::size_t resendMemory = 0;  // bytes of sent frames that are kept; never fewer than two frames
  bool extendedIds = false;
  std::uint64_t firstBlock = 1;  // id of a stream's first frame
};

/// A descriptor that is closed with its owner; none is -1.
class Socket {
 public:
  explicit Socket(int descriptor = -1) : descriptor_(descriptor) {}
  Socket(Socket&& other) noexcept;
  Socket& operator=(Socket&& other) noexcept;
  ~Socket();
  int Get() const { return descriptor_; }

 private:
  int descriptor_;
};

/// A GigE Vision camera on one of this computer's interfaces, for as long as the object lives.
///
/// Two threads: one answers commands, and sends again what a client asks for; the other waits for the model's
/// frames and sends them. The last frames stay in memory so that a resend finds them: the one being sent, the
/// one before it, and as many more as `resendMemory` holds. The oldest one is what the next frame is made in.
/// `framesMutex_` is held for making a frame and for resending, not for sending.
///
/// Commands come in through two sockets, one on the interface's address and one on the broadcast address, by
/// which clients find cameras. Broadcasts that came in over another interface are left alone.
class GigeCamera final : private GvcpActions {
 public:
  /// The model must outlive the camera. Throws std::runtime_error when the interface does not exist, has a
  /// camera already, or the fault script cannot be read.
  GigeCamera(CameraModel& model, const GigeOptions& options);
  ~GigeCamera() override;
  GigeCamera(const GigeCamera&) = delete;
  GigeCamera& operator=(const GigeCamera&) = delete;

  /// The IP address of now, as text.
  std::string Address() const;
  /// Replaces the script; counting begins anew. Any thread.
  void SetFaults(const std::string& script) { faults_.Set(script); }
  const FaultScript& Faults() const { return faults_; }
  /// As if somebody else were given control. Any thread.
  void ReleaseControl() { server_.ReleaseControl(); }
  /// Frames' packets that were sent again.
  std::uint64_t PacketsResent() const { return resender_.Sent(); }

 private:
  struct SentFrame {
    Frame frame;
    std::optional<GvspPackets> packets;
  };
  struct LateAnswer {
    Endpoint to;
    Bytes bytes;
    Clock::time_point due;
  };

  void FireTestPacket() override;
  void Resend(const ResendRequest& request) override;
  bool ForceAddress(std::uint32_t address) override;

  void answerCommands();
  void answerFrom(int socket, bool isBroadcast);
  void send(const Endpoint& to, const Fault& fault, Bytes answer, ByteView command);
  void streamFrames();
  void streamFrame(const Exposure& exposure, std::uint64_t block);
  SentFrame& oldestFrame(std::size_t imageSize);
  void answerUnavailable(const ResendRequest& request);
  PacketRoute route() const;
  void sendDueAnswers();
  void openControl(std::uint32_t address);

  CameraModel& model_;
  const GigeOptions options_;
  const NetworkInterface interface_;
  std::atomic<std::uint32_t> address_;
  Socket control_;
  Socket broadcast_;
  Socket stream_;
  GvcpServer server_;
  FaultScript faults_;
  std::atomic<bool> stop_{false};
  PacketSender sender_;
  PacketSender resender_;
  std::vector<LateAnswer> lateAnswers_;  // of the thread that answers
  std::mutex framesMutex_;
  std::list<SentFrame> frames_;  // the newest one last
  std::thread commandThread_;
  std::thread streamThread_;
};

}  // namespace vireo::simulator

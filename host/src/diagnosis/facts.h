// SPDX-License-Identifier: MIT
// What is known of a camera, of its way to this computer and of what came over it. Verdicts are made of
// nothing else, so that each can be tried on facts that were written down.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "camera/gige_cameras.h"
#include "evidence/interfaces.h"
#include "evidence/protocol_counters.h"
#include "evidence/sockets.h"
#include "evidence/usb_devices.h"
#include "terminal/failure.h"

namespace vireo::host {

enum class LinkKind { Unknown, Gige, Usb, InProcess };

/// How this computer reaches a GigE Vision camera; addresses in the host's byte order.
struct PathFacts {
  std::uint32_t address = 0;      ///< the camera's
  InterfaceState interface;       ///< that the route to it takes; without a name when there is no route
  bool hasGateway = false;        ///< the route goes through one
  std::vector<NetworkPort> here;  ///< this computer's
  bool answers = false;           ///< a register was read
  bool portClosed = false;        ///< a computer without a camera is there
  int sendError = 0;              ///< the system's reason why nothing could be sent there
  bool asked = false;             ///< whether `discovered` was asked for
  std::vector<GigeCamera> discovered;
  std::vector<NetworkPort> down;      ///< ports of this computer that are switched off
  std::int64_t reversePathDrops = 0;  ///< while it was asked
  std::int64_t filtered = 0;          ///< packets that a filter took meanwhile
};

/// The standard registers; none where the camera did not give one.
struct CameraRegisters {
  std::optional<std::uint32_t> capability;
  std::optional<std::uint32_t> heartbeatTimeout;  ///< milliseconds
  std::optional<std::uint32_t> controlPrivilege;
  std::optional<std::uint32_t> primaryApplication;
  std::optional<std::uint32_t> streamPort;
  std::optional<std::uint32_t> packetSize;   ///< bytes with IP and UDP headers
  std::optional<std::uint32_t> packetDelay;  ///< ticks
  std::optional<std::uint32_t> streamDestination;
  std::optional<std::uint32_t> tickFrequency;  ///< its low 32 bits, hertz
};

/// How long answers to commands took.
struct AnswerTimes {
  std::vector<double> milliseconds;
  int unanswered = 0;

  double Median() const;
  double Longest() const;
};

struct ActiveTrigger {
  std::string selector;  ///< empty for a camera with one trigger
  std::string source;
};

/// Settings that decide whether and how fast frames come; none where the camera has no such parameter.
struct CameraSettings {
  std::vector<ActiveTrigger> triggers;
  std::string acquisitionMode;
  std::optional<double> frameCount;
  std::optional<double> exposureSeconds;
  std::string exposureName;
  std::optional<double> frameRate;  ///< hertz; none where the limit is off
  std::string frameRateName;
  std::optional<double> payloadBytes;
  std::optional<double> throughputLimit;  ///< bytes a second; none where the limit is off
  bool hasThroughputMode = false;
  std::optional<double> linkMegabits;  ///< of the camera's own interface
  std::string heartbeatName = "DeviceLinkHeartbeatTimeout";
  double heartbeatUnits = 1.0;  ///< a millisecond in the unit of that parameter
};

/// What came in the time of measuring, and what the system counted meanwhile.
struct Reception {
  double seconds = 0.0;         ///< from the start on, in which the frames came
  double countedSeconds = 0.0;  ///< a little less: of what the system counted
  std::uint64_t frames = 0;
  std::uint64_t bad = 0;  ///< came damaged or truncated
  std::string badKinds;
  std::uint64_t refused = 0;  ///< too large, too small for what they say, or of a payload that is not taken
  std::uint64_t lost = 0;     ///< ids missing between frames
  double rate = 0.0;          ///< frames a second, from the first to the last
  bool linkLost = false;
  std::string failure;           ///< why receiving did not begin, or ended
  bool answersAfter = true;      ///< a register could be read when it was over
  bool hasLinkAfter = true;      ///< as in `InterfaceState`
  double othersDatagrams = 0.0;  ///< datagrams a second that other programs sent when it was over

  InterfaceCounters interface;
  ProtocolCounters protocols;
  bool packetSocket = false;       ///< the library receives before the system's filters and buffers
  std::int64_t socketDrops = 0;    ///< of the stream's own socket
  std::int64_t socketBuffer = 0;   ///< bytes
  std::optional<bool> portIsOurs;  ///< whether the register's port is one of this process
  CameraRegisters during;
  AnswerTimes answers;

  std::uint64_t Came() const { return frames + bad; }
};

struct Facts {
  std::string name;    ///< as the user named the camera; empty for the first one
  std::string option;  ///< how the command line names the camera: "-a 10.0.0.2 "; empty for the first one
  LinkKind link = LinkKind::Unknown;
  PathFacts path;
  CameraRegisters registers;  ///< before anything was done
  AnswerTimes answers;
  bool isBusy = false;
  std::optional<Failure> notOpened;  ///< why not, for a camera that may be there
  CameraSettings settings;
  std::optional<Reception> reception;  ///< none where nothing could be received
  BufferLimits buffers;
  std::vector<UsbCamera> usbCameras;
  std::optional<std::int64_t> usbMemoryMegabytes;

  /// Packets of one frame, and bytes of a frame on the wire; 0 where that is not known.
  double PacketsOfFrame() const;
  double WireBytesOfFrame() const;
  /// Frames a second that the settings ask for; 0 where that is not known.
  double AskedRate() const;
  /// Frames are missing: some were damaged or left out, or less than half of those that the settings ask for
  /// came.
  bool LacksFrames() const;
  /// What the slower of the two interfaces carries, bytes a second; without end where neither says.
  double LinkBytes() const;
  /// Packets that should have come while counting, and those that came to the interface besides answers.
  double ExpectedPackets() const;
  double ArrivedPackets() const;
  /// Datagrams that went out over the camera's interface besides commands and what other programs send all
  /// the time: requests for lost packets. 0 for an interface that sends to itself, which cannot tell them
  /// from the stream.
  double Requests() const;
  /// Frames are missing, or would be, had not so many packets been asked for again.
  bool LacksPackets() const;
};

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/usb/u3v_memory.h"

namespace vireo::simulator {

/// The control channel of a USB3 Vision camera, without its endpoints: a command in, an acknowledge out.
///
/// Silence is the answer to a wrong prefix, fewer bytes than a header, more than the camera's longest
/// command, an acknowledge, and a command that asks for none. A command that is not known or not whole gets
/// the status that the standard has for it.
class GencpServer {
 public:
  explicit GencpServer(U3vMemory& memory) : memory_(memory) {}

  /// The acknowledge; empty where there is none.
  Bytes Answer(ByteView command);
  /// Tells the sender of a command, which must be one, to wait for the answer.
  static Bytes PendingAcknowledge(ByteView command, std::uint32_t milliseconds);

 private:
  Status readMemory(ByteView rest, Bytes& data);
  Status writeMemory(ByteView rest, Bytes& data);

  U3vMemory& memory_;
};

}  // namespace vireo::simulator

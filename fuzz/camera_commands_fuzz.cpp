// SPDX-License-Identifier: MIT
// Any bytes as commands to the simulated camera, one after the other: no crash, memory that stays bounded,
// and an answer only to what is a command. The first byte chooses the wire, and on the network whose
// description the camera serves; then each command comes behind its length.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "simulator/gige/gvcp_server.h"
#include "simulator/usb/gencp_server.h"

namespace {

using namespace vireo::simulator;

void require(bool held) {
  if (!held) std::abort();
}

struct NoActions : GvcpActions {
  void FireTestPacket() override {}
  void Resend(const ResendRequest&) override {}
  bool ForceAddress(std::uint32_t) override { return true; }
};

template <std::endian order = std::endian::big>
std::uint16_t word(ByteView bytes, std::size_t at) {
  return ReadNumber<order, std::uint16_t>(bytes, at);
}

void checkGvcp(ByteView command, const Bytes& answer) {
  if (answer.empty()) return;
  require(command.size() >= 8 && command[0] == 0x42 && (command[1] & 1) == 1);
  require(word(command, 2) % 2 == 0 && word(command, 2) != 0x40);
  require(answer.size() >= 8 && answer.size() <= 8 + 540);
  require(word(answer, 2) == word(command, 2) + 1 && word(answer, 6) == word(command, 6));
  require(answer.size() == 8u + word(answer, 4));
  require(word(answer, 0) == 0 || word(answer, 0) >= 0x8001);
  require(word(answer, 0) != 0 || command.size() == 8u + word(command, 4));
}

void checkGencp(ByteView command, const Bytes& answer) {
  constexpr std::endian little = std::endian::little;
  if (answer.empty()) return;
  require(command.size() >= 12 && (word<little>(command, 4) & 0x4000) != 0);
  require(std::equal(command.begin(), command.begin() + 4, answer.begin()));
  require(word<little>(command, 6) % 2 == 0);
  require(answer.size() >= 12 && answer.size() <= U3vMemory::maxAcknowledge);
  require(word<little>(answer, 6) == word<little>(command, 6) + 1);
  require(word<little>(answer, 10) == word<little>(command, 10));
  require(answer.size() == 12u + word<little>(answer, 8));
  require(word<little>(answer, 4) != 0 || command.size() == 12u + word<little>(command, 8));
}

// Hands over one command after the other.
template <typename Take>
void split(ByteView input, Take take) {
  while (!input.empty()) {
    const std::size_t length = std::min<std::size_t>(input[0] * 4, input.size() - 1);
    take(input.subspan(1, length));
    input = input.subspan(1 + length);
  }
}

void runNetwork(CameraModel& model, ByteView input) {
  NoActions actions;
  GvcpServer server(model, actions, {0x020000000001, 0x7f000001, 0xff000000, 1});
  split(input, [&](ByteView command) { checkGvcp(command, server.Answer(command, {1, 1}, Clock::now())); });
}

void runUsb(CameraModel& model, ByteView input) {
  U3vMemory memory(model, {});
  GencpServer server(memory);
  split(input, [&](ByteView command) { checkGencp(command, server.Answer(command)); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView input(data, size);
  if (input.empty()) return 0;
  const bool isUsb = input[0] % 4 >= 2;
  CameraModel model({"camera.xml", "<xml/>", isUsb || input[0] % 2 == 0}, {});
  (isUsb ? runUsb : runNetwork)(model, input.subspan(1));
  require(model.MemorySize() <= RegisterMemory::maxPages * RegisterMemory::pageSize);
  return 0;
}

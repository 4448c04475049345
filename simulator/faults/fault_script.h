// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vireo::simulator {

/// What is counted: answers to commands, packets of frames, and packets that were asked for again.
enum class Channel : std::size_t { Command, Packet, Resend };

/// What happens to one of them.
struct Fault {
  enum class Kind {
    None,
    Lost,        // never sent
    Late,        // sent `value` milliseconds later; packets behind it go on
    Pending,     // a command: announced as pending, then answered `value` milliseconds later
    WrongId,     // sent under another request's or packet's number
    Error,       // sent with the status `value`
    Short,       // its second half is missing
    Oversized,   // 64 bytes too many
    Duplicate,   // sent twice
    Reordered,   // a packet: sent after the one behind it
    Garbage,     // random bytes instead, as many
    Mutated,     // `value` of its bytes are changed
    Disconnect,  // the camera is gone from here on
  };
  Kind kind = Kind::None;
  std::uint32_t value = 0;
  std::uint64_t random = 0;  // the begin of this member's own random numbers
};

/// Faults by step and by chance, written in one line that replays them:
///
///   command 3 lost; command 10- late 400; packet 100-120 status 0x800c; packet 0.5% duplicate; seed 7
///
/// Steps are separated by semicolons: a channel (command, packet, resend), which of its members (the n-th
/// from 1 on, n-m, n- for all from there, p% for that share at random), and what happens to them (lost, late
/// MS, pending MS, wrong-id, status CODE, short, oversized, duplicate, reordered, garbage, mutated COUNT,
/// disconnect). The first step that fits a member is the one that happens.
///
/// Chance is a hash of seed, step and the member's number, so a line strikes the same members in the same way
/// in every run, whatever the threads do meanwhile. Any thread may call anything.
class FaultScript {
 public:
  explicit FaultScript(std::string_view text = {}) { Set(text); }

  /// Replaces the script and counts anew. Throws std::runtime_error that names the step which cannot be read;
  /// then nothing has changed.
  void Set(std::string_view text);

  /// Counts one more member of the channel and says what happens to it.
  Fault Next(Channel channel);

  /// Members of the channel so far; an empty script counts none.
  std::uint64_t Count(Channel channel) const;

 private:
  struct Step {
    Channel channel = Channel::Command;
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::optional<double> share;  // 0 to 1, instead of first and last
    Fault fault;
  };
  static Step readStep(std::string_view text);
  static void readMembers(std::string_view whole, const std::string& text, Step& step);

  std::atomic<bool> isEmpty_{true};
  mutable std::mutex mutex_;  // for the rest
  std::vector<Step> steps_;
  std::uint64_t seed_ = 1;
  std::array<std::uint64_t, 3> counts_{};
};

}  // namespace vireo::simulator

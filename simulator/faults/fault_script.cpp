// SPDX-License-Identifier: MIT
#include "simulator/faults/fault_script.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "simulator/faults/random.h"

namespace vireo::simulator {
namespace {

struct Action {
  std::string_view name;
  Fault::Kind kind;
  bool takesValue = false;
};

constexpr Action actions[] = {
    {"lost", Fault::Kind::Lost},
    {"late", Fault::Kind::Late, true},
    {"pending", Fault::Kind::Pending, true},
    {"wrong-id", Fault::Kind::WrongId},
    {"status", Fault::Kind::Error, true},
    {"short", Fault::Kind::Short},
    {"oversized", Fault::Kind::Oversized},
    {"duplicate", Fault::Kind::Duplicate},
    {"reordered", Fault::Kind::Reordered},
    {"garbage", Fault::Kind::Garbage},
    {"mutated", Fault::Kind::Mutated, true},
    {"disconnect", Fault::Kind::Disconnect},
};

constexpr std::string_view channels[] = {"command", "packet", "resend"};

[[noreturn]] void refuse(std::string_view step, const std::string& reason) {
  throw std::runtime_error("the fault '" + std::string(step) + "' cannot be read: " + reason);
}

// Takes decimal and 0x... numbers that fill the whole text.
std::optional<std::uint64_t> numberIn(std::string_view text) {
  const bool isHex = text.starts_with("0x");
  if (isHex) text.remove_prefix(2);
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, isHex ? 16 : 10);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return value;
}

// The same in every run.
std::uint64_t chance(std::uint64_t seed, std::uint64_t step, std::uint64_t member) {
  return Mixed(seed * goldenRatio + (step << 56) + member);
}

// From 0 to 1.
double fraction(std::uint64_t chance) {
  return static_cast<double>(chance >> 11) * 0x1p-53;
}

}  // namespace

void FaultScript::Set(std::string_view text) {
  std::vector<Step> steps;
  std::uint64_t seed = 1;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(';'), text.size());
    std::istringstream words{std::string(text.substr(0, end))};
    std::string first;
    std::string second;
    if (words >> first && first == "seed") {
      const auto number = words >> second ? numberIn(second) : std::nullopt;
      if (!number) refuse(text.substr(0, end), "a seed is a whole number");
      seed = *number;
    } else if (!first.empty()) {
      steps.push_back(readStep(text.substr(0, end)));
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  const std::lock_guard lock(mutex_);
  steps_ = std::move(steps);
  seed_ = seed;
  counts_ = {};
  isEmpty_ = steps_.empty();
}

FaultScript::Step FaultScript::readStep(std::string_view text) {
  std::istringstream words{std::string(text)};
  std::string channel;
  std::string members;
  std::string action;
  std::string value;
  std::string rest;
  words >> channel >> members >> action >> value >> rest;
  Step step;
  const auto* const known = std::ranges::find(channels, channel);
  if (known == std::end(channels)) refuse(text, "it begins with command, packet, resend or seed");
  step.channel = static_cast<Channel>(known - std::begin(channels));
  readMembers(text, members, step);
  const auto* const row = std::ranges::find(actions, action, &Action::name);
  if (row == std::end(actions)) refuse(text, "'" + action + "' is not a fault");
  const auto number = numberIn(value);
  if (row->takesValue ? !number || *number > std::numeric_limits<std::uint32_t>::max() : !value.empty())
    refuse(text, action + (row->takesValue ? " takes a number" : " takes nothing"));
  if (!rest.empty()) refuse(text, "'" + rest + "' is too much");
  step.fault = {row->kind, static_cast<std::uint32_t>(number.value_or(0)), 0};
  return step;
}

void FaultScript::readMembers(std::string_view whole, const std::string& text, Step& step) {
  constexpr const char* forms = "which ones is n, n-m, n- or p%";
  if (text.ends_with('%')) {
    double percent = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size() - 1, percent);
    if (error != std::errc() || end != text.data() + text.size() - 1 || !(percent >= 0.0 && percent <= 100.0))
      refuse(whole, forms);
    step.share = percent / 100.0;
    return;
  }
  const std::size_t dash = text.find('-');
  const auto first = numberIn(std::string_view(text).substr(0, dash));
  auto last = first;
  if (dash + 1 == text.size()) {
    last = std::numeric_limits<std::uint64_t>::max();
  } else if (dash != std::string::npos) {
    last = numberIn(std::string_view(text).substr(dash + 1));
  }
  if (!first || !last || *first == 0 || *last < *first) refuse(whole, forms);
  step.first = *first;
  step.last = *last;
}

Fault FaultScript::Next(Channel channel) {
  if (isEmpty_) return {};
  const std::lock_guard lock(mutex_);
  const std::uint64_t member = ++counts_[static_cast<std::size_t>(channel)];
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    const Step& step = steps_[i];
    if (step.channel != channel) continue;
    const std::uint64_t random = chance(seed_, i, member);
    const bool strikes =
        step.share ? fraction(random) < *step.share : member >= step.first && member <= step.last;
    if (strikes) return {step.fault.kind, step.fault.value, random};
  }
  return {};
}

std::uint64_t FaultScript::Count(Channel channel) const {
  const std::lock_guard lock(mutex_);
  return counts_[static_cast<std::size_t>(channel)];
}

}  // namespace vireo::simulator

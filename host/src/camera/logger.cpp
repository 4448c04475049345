// SPDX-License-Identifier: MIT
#include "camera/logger.h"

#include <unistd.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include "camera/adapter_texts.h"
#include "terminal/numbers.h"

namespace vireo::host {
namespace {

namespace loglevel = brio::fnd::loglevel;

constexpr std::int32_t nothing = std::numeric_limits<std::int32_t>::max();
constexpr std::array<std::pair<std::string_view, std::int32_t>, 6> levels = {{{"off", nothing},
                                                                              {"trace", loglevel::Trace},
                                                                              {"debug", loglevel::Debug},
                                                                              {"info", loglevel::Info},
                                                                              {"warning", loglevel::Warning},
                                                                              {"error", loglevel::Error}}};

std::int32_t levelOf(std::string_view name) {
  for (const auto& [levelName, level] : levels) {
    if (levelName == name) return level;
  }
  return nothing;
}

void writeLine(const std::string& text) {
  const std::string line = text + '\n';
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

std::optional<std::uint64_t> numberAfter(std::string_view mark, std::string_view text) {
  const std::size_t at = text.find(mark);
  if (at == std::string_view::npos) return std::nullopt;
  text.remove_prefix(at + mark.size());
  return TakeNumber<std::uint64_t>(text);
}

}  // namespace

std::uint64_t HostLogger::FrameFaults::Bad() const {
  return std::accumulate(byStatus.begin(), byStatus.end(), std::uint64_t{0});
}

HostLogger::HostLogger(const std::string& level) : shownFrom_(levelOf(level)) {
  threshold = shownFrom_;
  brio::fnd::SetLogger(this);
}

HostLogger::~HostLogger() {
  brio::fnd::SetLogger(nullptr);
}

void HostLogger::Record(std::int32_t level, const std::string& text) {
  if (counting_) countFault(text);
  if (level >= shownFrom_) writeLine(text);
}

void HostLogger::Record(const std::string& text) {
  if (shownFrom_ != nothing) writeLine(text);
}

void HostLogger::CountFrameFaults() {
  counting_ = true;
  threshold = std::min(shownFrom_, loglevel::Debug);
}

HostLogger::FrameFaults HostLogger::Faults() const {
  FrameFaults faults;
  std::copy(byStatus_.begin(), byStatus_.end(), faults.byStatus.begin());
  faults.oversized = oversized_;
  faults.largestBytes = largestBytes_;
  return faults;
}

void HostLogger::countFault(const std::string& text) {
  if (const auto status = numberAfter(adaptertext::damagedFrame, text)) {
    ++byStatus_[std::min<std::uint64_t>(*status, statusCount - 1)];
  }
  if (const auto bytes = numberAfter(adaptertext::oversizedFrame, text)) {
    ++oversized_;
    largestBytes_ = std::max(largestBytes_.load(), *bytes);  // only the receiving thread comes here
  }
}

std::vector<std::string> LogLevelNames() {
  std::vector<std::string> names;
  for (const auto& [name, level] : levels) names.emplace_back(name);
  return names;
}

const char* BufferStatusName(std::size_t status) {
  constexpr std::array names = {"success",         "cleared",         "time-out",
                                "missing packets", "wrong packet id", "size mismatch",
                                "filling",         "aborted",         "payload not supported"};
  return status < names.size() ? names[status] : "unknown";
}

}  // namespace vireo::host

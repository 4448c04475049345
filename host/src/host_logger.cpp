// SPDX-License-Identifier: MIT
#include "host_logger.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <map>
#include <numeric>
#include <string_view>

namespace vireo::host {
namespace {

namespace loglevel = brio::fnd::loglevel;
constexpr std::int32_t nothing = std::numeric_limits<std::int32_t>::max();

std::int32_t levelOf(const std::string& name) {
  static const std::map<std::string, std::int32_t> levels = {
      {"trace", loglevel::Trace},     {"debug", loglevel::Debug}, {"info", loglevel::Info},
      {"warning", loglevel::Warning}, {"error", loglevel::Error},
  };
  const auto level = levels.find(name);
  return level == levels.end() ? nothing : level->second;
}

void writeLine(const std::string& text) {
  const std::string line = text + '\n';
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

/// The number that follows `mark` in `text`, or -1.
std::int64_t numberAfter(std::string_view text, std::string_view mark) {
  const std::size_t at = text.find(mark);
  std::int64_t number = -1;
  if (at != std::string_view::npos) {
    const std::string_view digits = text.substr(at + mark.size());
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
  }
  return number;
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
  const std::int64_t status = numberAfter(text, "buffer status=");
  if (status >= 0) ++byStatus_[std::min(static_cast<std::size_t>(status), statusCount - 1)];
  const std::int64_t bytes = numberAfter(text, "frame too large (");
  if (bytes < 0) return;
  ++oversized_;
  largestBytes_ = std::max(largestBytes_.load(), static_cast<std::uint64_t>(bytes));
}

const char* BufferStatusName(std::size_t status) {
  constexpr std::array names = {"success",         "cleared",         "time-out",
                                "missing packets", "wrong packet id", "size mismatch",
                                "filling",         "aborted",         "payload not supported"};
  return status < names.size() ? names[status] : "unknown";
}

}  // namespace vireo::host

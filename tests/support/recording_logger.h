// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "brio/fnd/record.h"

/// Installed as the process logger for as long as it lives; keeps every record.
class RecordingLogger final : public brio::fnd::Logger {
 public:
  struct Entry {
    std::optional<std::int32_t> level;  // none: the record operation without a level
    std::string text;

    /// What follows the thread name.
    std::string message() const { return text.substr(text.find(": ") + 2); }
    /// The n-th field of "time:time:time:file:line:function:thread: message"; a time stamp holds two colons.
    std::string field(int n) const {
      std::size_t start = 0;
      for (; n > 0; --n) start = text.find(':', start) + 1;
      return text.substr(start, text.find(':', start) - start);
    }
  };

  explicit RecordingLogger(std::int32_t level = brio::fnd::loglevel::Debug) {
    threshold = level;
    brio::fnd::SetLogger(this);
  }
  ~RecordingLogger() override { brio::fnd::SetLogger(nullptr); }

  void Record(std::int32_t level, const std::string& text) override { keep({level, text}); }
  void Record(const std::string& text) override { keep({std::nullopt, text}); }

  /// Called with each record's message once it is kept, on the thread that wrote it.
  std::function<void(const std::string&)> onRecord;

  std::vector<Entry> entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
  }

  /// "function|level|message" of every record since the last call; the level is empty where there is none.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> lines;
    for (const Entry& entry : entries_) {
      const std::string level = entry.level ? std::to_string(*entry.level) : "";
      lines.push_back(entry.field(5) + "|" + level + "|" + entry.message());
    }
    entries_.clear();
    return lines;
  }

  std::size_t count(const std::string& message) const {
    const std::lock_guard lock(mutex_);
    const auto same = [&](const Entry& entry) { return entry.message() == message; };
    return static_cast<std::size_t>(std::ranges::count_if(entries_, same));
  }

 private:
  void keep(const Entry& entry) {
    {
      const std::lock_guard lock(mutex_);
      entries_.push_back(entry);
    }
    if (onRecord) onRecord(entry.message());
  }

  mutable std::mutex mutex_;
  std::vector<Entry> entries_;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <arv.h>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// While it lives, every Aravis call that the adapter makes passes through here: it is written down, and
/// fails or answers what the test asks for. A call is named like "get_integer Width" or "create_stream". Link
/// the test with aravis_script.cpp, whose functions take the place of the library's.
class AravisScript {
 public:
  AravisScript() { current = this; }
  ~AravisScript() { current = nullptr; }

  /// The next `times` such calls report an error of this text; an empty text fails without an error.
  void fail(const std::string& call, const std::string& text = "scripted", int times = 1);
  /// The call number `index` since the calls were last taken reports an error of this text.
  void failAt(std::size_t index, const std::string& text) { failingPlace_ = {index, text}; }
  /// Every such call answers this number instead of asking the camera.
  void answer(const std::string& call, double number) { numbers_[call] = number; }
  /// The camera's description instead of its own; an empty one stands for none at all.
  std::optional<std::string> xml;
  /// What opening returns instead of a device, with a reference of its own.
  GObject* opened = nullptr;
  /// What opening returned last; borrowed.
  ArvDevice* device = nullptr;
  /// The stream that was created last; borrowed.
  ArvStream* stream = nullptr;
  /// A `create_stream` that fails returns a stream beside its error.
  bool streamDespiteError = false;
  /// Runs inside the next such call.
  void during(const std::string& call, std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    actions_[call] = std::move(action);
  }

  /// The calls since the last time, in order.
  std::vector<std::string> takeCalls();
  std::size_t count(const std::string& call) const;
  std::size_t count() const;

  // For the functions that take the library's place.
  static inline std::atomic<AravisScript*> current{nullptr};
  /// Writes the call down; true when it fails here instead of reaching the library.
  bool intercept(const std::string& call, GError** error);
  std::optional<double> number(const std::string& call) const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> calls_;
  std::optional<std::pair<std::size_t, std::string>> failingPlace_;
  std::map<std::string, std::deque<std::string>> failures_;
  std::map<std::string, double> numbers_;
  std::map<std::string, std::function<void()>> actions_;
};

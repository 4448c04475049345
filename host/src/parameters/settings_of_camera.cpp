// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "parameters/selectors.h"
#include "parameters/setting_rules.h"
#include "parameters/settings.h"
#include "parameters/values.h"

namespace vireo::host {
namespace {

using common::Parameter;
using common::ParameterMetadata;

constexpr std::size_t mostCombinations = 4096;  // of selector values, for one setting

bool isUtf8(const std::string& text) {
  try {
    [[maybe_unused]] const std::string strict = Json(text).dump();
    return true;
  } catch (const Json::type_error&) {
    return false;
  }
}

// Why a file cannot keep a value; empty when it can.
std::string reasonToLeaveOut(const Parameter& parameter, const IntegerForm& form) {
  if (!IsWhole(parameter, form)) return "only the low 32 bits of its value are known";
  if (const auto* const number = std::get_if<float>(&parameter.value))
    return std::isfinite(*number) ? "" : fmt::format("its value is {}", *number);
  const auto* const text = std::get_if<std::string>(&parameter.value);
  if (text == nullptr) return "";
  const auto& entries = parameter.metadata->entries;
  if (!entries.empty() && std::find(entries.begin(), entries.end(), *text) == entries.end())
    return noEntryText;
  return isUtf8(*text) ? "" : "its text is not UTF-8";
}

// Reads a camera's settings, those that depend on selectors for every combination of their values.
class Collector {
 public:
  Collector(Camera& camera, bool withIdentity)
      : camera_(camera), withIdentity_(withIdentity), selectors_(camera.Features()), selection_(camera) {}

  SavedSettings Collect();

 private:
  using Names = std::vector<std::string>;

  void keep(const SettingKey& key, const Reading& reading);
  void note(const std::string& text);
  std::vector<std::string> valuesOf(const std::string& selector) const;
  std::vector<std::string> currentValueOf(const std::string& selector) const;
  std::vector<std::vector<std::string>> choicesFor(const Names& selectors, const Names& names);
  std::map<Names, Names> keepUnselected();
  void leaveOutRefused();
  void collectSelected(const Names& selectors, const Names& names);
  void collectFor(const SelectorValues& at, const Names& names);

  Camera& camera_;
  bool withIdentity_;
  Selectors selectors_;
  Selection selection_;
  std::map<std::string, Reading> readings_;
  std::map<std::string, std::vector<std::pair<std::string, Json>>> settings_;  // key and value, by name
  std::set<std::pair<std::string, std::string>> refused_;                      // selector and value
  std::vector<std::string> notes_;
  std::set<std::string> noted_;
};

void Collector::note(const std::string& text) {
  if (noted_.insert(text).second) notes_.push_back(text);
}

void Collector::keep(const SettingKey& key, const Reading& reading) {
  const IntegerForm form = FormOf(camera_.Features(), reading.parameter);
  const std::string reason =
      reading.failure.empty() ? reasonToLeaveOut(reading.parameter, form) : reading.failure;
  if (reason.empty()) {
    settings_[key.name].emplace_back(KeyText(key), ValueToJson(reading.parameter, form));
  } else {
    note(fmt::format("{} is left out: {}", KeyText(key), reason));
  }
}

// None when they cannot be counted.
std::vector<std::string> Collector::valuesOf(const std::string& selector) const {
  const Parameter& parameter = readings_.at(selector).parameter;
  const ParameterMetadata& metadata = *parameter.metadata;
  if (!std::holds_alternative<int>(parameter.value)) return metadata.entries;
  const double step = std::max(metadata.increment.value_or(1.0), 1.0);
  const bool known =
      metadata.min && metadata.max && IsWhole(parameter, FormOf(camera_.Features(), parameter));
  std::vector<std::string> values;
  if (!known || (*metadata.max - *metadata.min) / step >= mostCombinations) return {};
  for (double value = *metadata.min; value <= *metadata.max; value += step)
    values.push_back(fmt::format("{}", static_cast<std::int64_t>(value)));
  return values;
}

std::vector<std::string> Collector::currentValueOf(const std::string& selector) const {
  const Reading& now = readings_.at(selector);
  const IntegerForm form = FormOf(camera_.Features(), now.parameter);
  if (!now.failure.empty() || !reasonToLeaveOut(now.parameter, form).empty()) return {};
  return {ShownText(now.parameter, form)};
}

// The values to go through of each selector; all of them where that ends some day.
std::vector<std::vector<std::string>> Collector::choicesFor(const Names& selectors, const Names& names) {
  std::vector<std::vector<std::string>> choices;
  std::size_t combinations = 1;
  for (const std::string& selector : selectors) {
    std::vector<std::string> values = camera_.IsBusy() ? Names() : valuesOf(selector);
    const bool few = !values.empty() && values.size() <= mostCombinations / combinations;
    if (!few && !camera_.IsBusy())
      note(fmt::format("{} is kept for the current {} only: that has too many values", fmt::join(names, ", "),
                       selector));
    choices.push_back(few ? std::move(values) : currentValueOf(selector));
    combinations *= std::max<std::size_t>(choices.back().size(), 1);
  }
  return choices;
}

void Collector::collectFor(const SelectorValues& at, const Names& names) {
  for (const std::string& name : names) {
    Reading reading = {readings_.at(name).parameter, ""};
    reading.failure = ReadInto(camera_, reading.parameter);
    keep({name, at}, reading);
  }
}

void Collector::collectSelected(const Names& selectors, const Names& names) {
  const std::vector<std::vector<std::string>> choices = choicesFor(selectors, names);
  SelectorValues at;
  const auto descend = [&](const auto& self, std::size_t depth) -> void {
    if (depth == selectors.size()) return collectFor(at, names);
    if (choices[depth].empty()) return self(self, depth + 1);  // not even the current one is known
    for (const std::string& value : choices[depth]) {
      at.emplace_back(selectors[depth], value);
      const std::string reason = selection_.Choose(at);
      if (reason.empty()) {
        self(self, depth + 1);
      } else {
        refused_.insert(at.back());
        note(fmt::format("{} cannot be {}, so what that selects is left out: {}", selectors[depth], value,
                         reason));
      }
      at.pop_back();
    }
  };
  descend(descend, 0);
}

// Keeps what no selector selects; the others, by their selectors, are left.
std::map<Collector::Names, Collector::Names> Collector::keepUnselected() {
  std::map<Names, Names> selected;
  for (const auto& [name, reading] : readings_) {
    if (!IsSetting(reading.parameter, camera_.Nodes()) ||
        (!withIdentity_ && IsIdentity(name, camera_.Features())))
      continue;
    Names selectors = selectors_.Of(name);
    std::erase_if(selectors, [this](const std::string& selector) { return !readings_.contains(selector); });
    if (selectors.empty()) {
      keep({name, {}}, reading);
    } else {
      selected[std::move(selectors)].push_back(name);
    }
  }
  return selected;
}

// A selector may have a value that the camera does not take back.
void Collector::leaveOutRefused() {
  for (const auto& [selector, value] : refused_) {
    const auto kept = settings_.find(selector);
    if (kept == settings_.end() || ValueText(kept->second.front().second) != value) continue;
    note(fmt::format("{} is left out: the camera refuses the value that it has, {}", selector, value));
    settings_.erase(kept);
  }
}

SavedSettings Collector::Collect() {
  if (camera_.IsBusy())
    note("another program controls the camera: settings are kept for the current values of selectors only");
  for (Reading& reading : ReadAll(camera_)) {
    const std::string name = reading.parameter.name;
    readings_.emplace(name, std::move(reading));
  }
  for (const auto& [selectors, names] : keepUnselected()) collectSelected(selectors, names);
  for (const std::string& failure : selection_.Restore()) note(failure);
  leaveOutRefused();
  SavedSettings saved = {{IdentityOf(camera_), Json::object()}, std::move(notes_)};
  camera_.CheckLink();
  auto& members = saved.settings.settings.get_ref<Json::object_t&>();
  for (auto& [name, values] : settings_) {
    for (auto& [key, value] : values) members.emplace_back(key, std::move(value));
  }
  return saved;
}

}  // namespace

SavedSettings SettingsOf(Camera& camera, bool withIdentity) {
  SavedSettings saved = Collector(camera, withIdentity).Collect();
  if (saved.settings.settings.empty() && !saved.notes.empty())
    throw Failure(ExitStatus::Failed, "the camera gives not one setting: " + saved.notes.front());
  return saved;
}

}  // namespace vireo::host

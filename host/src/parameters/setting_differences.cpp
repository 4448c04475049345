// SPDX-License-Identifier: MIT
#include "parameters/setting_differences.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "parameters/selectors.h"
#include "parameters/setting_rules.h"
#include "parameters/writer.h"
#include "terminal/failure.h"

namespace vireo::host {
namespace {

using common::Parameter;

// A setting of a file.
struct Wanted {
  std::string text;  // of its key in the file
  SettingKey key;
  Json value;
};

// The old format says a selector's value under its name, and what it selects without it.
void completeKey(SettingKey& key, const Selectors& selectors, const Json& settings) {
  if (!key.at.empty()) return;
  for (const std::string& selector : selectors.Of(key.name)) {
    const auto value = settings.find(selector);
    if (value != settings.end()) key.at.emplace_back(selector, ValueText(*value));
  }
}

// What has the same selector values side by side, so that these are written once.
std::vector<Wanted> wantedOf(const Settings& settings, const Selectors& selectors) {
  std::vector<Wanted> wanted;
  for (const auto& [text, value] : settings.settings.items()) {
    wanted.push_back({text, KeyFrom(text), value});
    completeKey(wanted.back().key, selectors, settings.settings);
  }
  std::stable_sort(wanted.begin(), wanted.end(),
                   [](const Wanted& one, const Wanted& other) { return one.key.at < other.key.at; });
  return wanted;
}

// Files of before have the bits of an unsigned number with a sign.
Parameter parseWanted(const Parameter& like, const Json& value, const IntegerForm& form) {
  Parameter parameter = ParseJson(like, value, form);
  const int* const number = std::get_if<int>(&parameter.value);
  if (number != nullptr && *number < 0 && form.bits == IntegerForm::Bits::Unsigned)
    parameter.value = static_cast<double>(KnownInteger(*number, form));
  return parameter;
}

// Compares with a camera whose selectors move.
class CameraComparison {
 public:
  explicit CameraComparison(Camera& camera)
      : camera_(camera), scanned_(ScanByName(camera)), selection_(camera) {}

  // Adds a difference where there is one.
  void Add(const Wanted& wanted);
  std::vector<Difference> Differences() {
    selection_.Restore();
    camera_.CheckLink();
    return std::move(differences_);
  }

 private:
  Camera& camera_;
  ParametersByName scanned_;
  Selection selection_;
  std::vector<Difference> differences_;
};

void CameraComparison::Add(const Wanted& wanted) {
  const auto differs = [&](const std::string& now, const std::string& reason) {
    differences_.push_back({wanted.text, ValueText(wanted.value), now, reason});
  };
  const auto found = scanned_.find(wanted.key.name);
  if (found == scanned_.end()) return differs("", "the camera has no such parameter");
  std::string reason = selection_.Choose(wanted.key.at);
  Parameter now = found->second;
  if (reason.empty()) reason = ReadInto(camera_, now);
  if (!reason.empty()) return differs("", reason);
  const IntegerForm form = FormOf(camera_.Features(), now);
  bool same = false;
  try {
    same = SameValue(now, parseWanted(now, wanted.value, form));
  } catch (const Failure&) {  // a value of another type differs
  }
  if (!same) differs(ShownText(now, form), "");
}

// Writes the settings of a file.
class Loader {
 public:
  explicit Loader(Camera& camera) : camera_(camera), writer_(camera) {}

  // From here on writes floats as the single-precision numbers that were read, not as their shortest texts:
  // where the camera cuts digits off, 0.1 may be one step below what reads as 0.1.
  void WriteSinglePrecision() { singlePrecision_ = true; }

  // Writes them one after the other; what failed again, after the others, as long as that makes progress:
  // settings move each other's bounds.
  void Write(std::vector<Wanted> wanted);
  std::string ReasonFor(const std::string& key) const {
    const auto found = reasons_.find(key);
    return found == reasons_.end() ? "" : found->second;
  }

 private:
  std::string write(const Wanted& wanted, Selection& selection);

  Camera& camera_;
  ParameterWriter writer_;
  bool singlePrecision_ = false;
  SelectorValues scannedFor_;                   // what the bounds of the last scan belong to
  std::map<std::string, std::string> reasons_;  // why it could not be written, by key
};

// The reason why it failed; empty when it is written.
std::string Loader::write(const Wanted& wanted, Selection& selection) {
  const auto like = camera_.Catalogue().find(wanted.key.name);
  if (like == camera_.Catalogue().end()) return "the camera has no such parameter";
  if (std::string reason = selection.Choose(wanted.key.at); !reason.empty()) return reason;
  try {
    Parameter parameter = parseWanted(like->second, wanted.value, FormOf(camera_.Features(), like->second));
    if (double* const number = std::get_if<double>(&parameter.value);
        singlePrecision_ && std::holds_alternative<float>(like->second.value))
      *number = static_cast<float>(*number);
    if (wanted.key.at != scannedFor_ && writer_.Objects(parameter)) {
      writer_.Scan();
      scannedFor_ = wanted.key.at;
    }
    return writer_.TryWrite(parameter);
  } catch (const Failure& failure) {
    if (failure.status == ExitStatus::LinkLost) throw;
    return failure.what();
  }
}

void Loader::Write(std::vector<Wanted> wanted) {
  bool progress = true;
  while (progress && !wanted.empty()) {
    Selection selection(camera_);
    std::vector<Wanted> failed;
    for (Wanted& one : wanted) {
      const std::string reason = write(one, selection);
      reasons_[one.text] = reason;
      if (!reason.empty()) failed.push_back(std::move(one));
    }
    selection.Restore();
    progress = failed.size() < wanted.size();
    wanted = std::move(failed);
    if (progress && !wanted.empty()) writer_.Scan();
    scannedFor_.clear();
  }
}

std::vector<Difference> compare(Camera& camera, const std::vector<Wanted>& wanted) {
  CameraComparison comparison(camera);
  for (const Wanted& one : wanted) comparison.Add(one);
  return comparison.Differences();
}

std::vector<Wanted> onlyDiffering(const std::vector<Wanted>& wanted,
                                  const std::vector<Difference>& differences) {
  std::set<std::string> keys;
  for (const Difference& difference : differences) keys.insert(difference.key);
  std::vector<Wanted> left;
  std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(left),
               [&](const Wanted& one) { return keys.contains(one.text); });
  return left;
}

// Files of before have the bits of an unsigned number with a sign.
bool isSame(const Json& one, const Json& other) {
  if (one == other) return true;
  if (!one.is_number_integer() || !other.is_number_integer()) return false;
  const auto number = one.get<std::int64_t>();
  const auto second = other.get<std::int64_t>();
  return (number < 0) != (second < 0) &&
         static_cast<std::uint32_t>(number) == static_cast<std::uint32_t>(second);
}

// A file's settings, to be found by key and by parameter.
class FileSettings {
 public:
  explicit FileSettings(const Json& settings) {
    for (const auto& [text, value] : settings.items()) {
      values_.emplace(text, &value);
      keys_.emplace(KeyFrom(text).name, text);
    }
  }

  const Json* Find(const std::string& text) const {
    const auto found = values_.find(text);
    return found == values_.end() ? nullptr : found->second;
  }
  bool Has(const SelectorValues& at) const {
    return std::all_of(at.begin(), at.end(), [this](const auto& selector) {
      const Json* const value = Find(selector.first);
      return value != nullptr && ValueText(*value) == selector.second;
    });
  }
  // The setting that says the same as `text` does in `other`: under its key, or under its plain name where
  // the other one names its selectors' values, or the reverse.
  const Json* FindLike(const std::string& text, const FileSettings& other) const;
  // Whether it has a setting under its plain name only, while `text` is for certain selector values.
  bool HasPlain(const std::string& text) const {
    const SettingKey key = KeyFrom(text);
    return !key.at.empty() && Find(key.name) != nullptr;
  }

 private:
  std::map<std::string, const Json*> values_;
  std::multimap<std::string, std::string> keys_;  // by parameter
};

const Json* FileSettings::FindLike(const std::string& text, const FileSettings& other) const {
  if (const Json* const same = Find(text)) return same;
  const SettingKey key = KeyFrom(text);
  if (!key.at.empty()) return Has(key.at) ? Find(key.name) : nullptr;
  const auto [first, last] = keys_.equal_range(key.name);
  const auto like = std::find_if(
      first, last, [&](const auto& candidate) { return other.Has(KeyFrom(candidate.second).at); });
  return like == last ? nullptr : Find(like->second);
}

}  // namespace

std::vector<Difference> Compare(Camera& camera, const Settings& wanted) {
  return compare(camera, wantedOf(wanted, Selectors(camera.Features())));
}

std::vector<Difference> Apply(Camera& camera, const Settings& settings) {
  const Selectors selectors(camera.Features());
  const std::vector<Wanted> wanted = wantedOf(settings, selectors);
  Loader loader(camera);
  const auto write = [&](std::vector<Wanted> some) {
    const auto selecting = std::stable_partition(
        some.begin(), some.end(), [&](const Wanted& one) { return !selectors.IsSelector(one.key.name); });
    loader.Write({some.begin(), selecting});
    loader.Write({selecting, some.end()});
    return compare(camera, wanted);
  };
  std::vector<Difference> differences = write(wanted);
  loader.WriteSinglePrecision();
  // A setting may have moved another that was written before it.
  std::size_t before = differences.size() + 1;
  while (!differences.empty() && differences.size() < before) {
    before = differences.size();
    differences = write(onlyDiffering(wanted, differences));
  }
  for (Difference& difference : differences)
    if (difference.reason.empty()) difference.reason = loader.ReasonFor(difference.key);
  return differences;
}

std::vector<Difference> Compare(const Settings& first, const Settings& second) {
  const FileSettings file(first.settings);
  const FileSettings other(second.settings);
  std::vector<Difference> differences;
  for (const auto& [text, value] : first.settings.items()) {
    const Json* const like = other.FindLike(text, file);
    if (like == nullptr && !other.HasPlain(text))
      differences.push_back({text, ValueText(value), "", "only in the first"});
    if (like != nullptr && !isSame(value, *like))
      differences.push_back({text, ValueText(value), ValueText(*like), ""});
  }
  for (const auto& [text, value] : second.settings.items()) {
    if (file.FindLike(text, other) == nullptr && !file.HasPlain(text))
      differences.push_back({text, "", ValueText(value), "only in the second"});
  }
  return differences;
}

}  // namespace vireo::host

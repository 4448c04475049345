// SPDX-License-Identifier: MIT
#include "parameters/temporary_settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>

#include "parameters/bounds.h"
#include "parameters/names.h"
#include "terminal/console.h"
#include "terminal/failure.h"
#include "terminal/interrupt.h"

namespace vireo::host {

using common::Parameter;

TemporarySettings::TemporarySettings(Camera& camera) : camera_(camera), writer_(camera) {
  CatchInterrupts();
}

TemporarySettings::~TemporarySettings() {
  try {
    restore();
  } catch (const std::exception&) {  // the link is lost: whoever works with the camera has noticed
  }
}

ReadBack TemporarySettings::Set(const std::string& name, const std::string& value) {
  RequireParameter(camera_, name);
  const Parameter& like = camera_.Catalogue().at(name);
  return Set(ParseValue(like, value, FormOf(camera_.Features(), like)));
}

void TemporarySettings::Require(const std::vector<Parameter>& wanted) {
  const auto objects = [&](const Parameter& parameter) { return writer_.Objects(parameter); };
  if (std::none_of(wanted.begin(), wanted.end(), objects)) return;
  writer_.Scan();
  for (const Parameter& parameter : wanted)
    if (const auto objection = Objection(parameter, LastScan()))
      throw Failure(ExitStatus::Failed, *objection);
}

ReadBack TemporarySettings::Set(const Parameter& wanted) {
  Require({wanted});  // what is not sent need not be put back
  Setting& setting = remember(wanted.name);
  writer_.WriteInOrder({wanted}).Require();
  setting.now = wanted;
  return writer_.ReadBackOf(wanted);
}

TemporarySettings::Setting& TemporarySettings::remember(const std::string& name) {
  const auto known = std::find_if(settings_.begin(), settings_.end(),
                                  [&](const Setting& setting) { return setting.before.name == name; });
  if (known != settings_.end()) return *known;
  const Parameter before = valueBefore(name);
  return settings_.emplace_back(Setting{before, before});
}

// As it can be written again: an integer with all the bits that its range says it has.
Parameter TemporarySettings::valueBefore(const std::string& name) {
  Parameter before = camera_.Catalogue().at(name);
  const std::string failure = ReadKnown(camera_, before);
  const auto scanned = LastScan().find(name);
  const IntegerForm form = FormOf(camera_.Features(), scanned == LastScan().end() ? before : scanned->second);
  if (failure.empty() && IsWhole(before, form)) {
    if (const int* const number = std::get_if<int>(&before.value); number != nullptr && *number < 0)
      before.value = static_cast<double>(KnownInteger(*number, form));
    return before;
  }
  throw Failure(ExitStatus::Failed,
                fmt::format("{} is not changed, since it could not be put back: {}", name,
                            failure.empty() ? "only the low 32 bits of its value are known" : failure));
}

void TemporarySettings::Renew() {
  writer_.Scan();
  for (const Setting& setting : settings_) writer_.WriteInOrder({setting.now}).Require();
}

void TemporarySettings::restore() {
  camera_.CheckLink();  // of a lost camera every write would be waited for
  for (auto setting = settings_.rbegin(); setting != settings_.rend(); ++setting) {
    const WriteOutcome outcome = writer_.WriteInOrder({setting->before});
    if (!outcome.reason.empty())
      PrintError(fmt::format("note: {} is not {} again: {}", setting->before.name,
                             setting->before.GetValueAsString(), outcome.reason));
  }
}

}  // namespace vireo::host

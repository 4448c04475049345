// SPDX-License-Identifier: MIT
#include "parameters/writer.h"

#include <fmt/format.h>

#include <utility>

#include "camera/link_check.h"
#include "parameters/bounds.h"
#include "terminal/failure.h"

namespace vireo::host {
namespace {

using common::Parameter;

}  // namespace

void WriteOutcome::Require() const {
  if (reason.empty()) return;
  if (done.size() + notDone.size() == 1) throw Failure(ExitStatus::Failed, reason);
  throw Failure(ExitStatus::Failed,
                fmt::format("{}; done: {}; not done: {}", reason,
                            done.empty() ? "none" : fmt::format("{}", fmt::join(done, ", ")),
                            fmt::join(notDone, ", ")));
}

ParameterWriter::ParameterWriter(Camera& camera) : camera_(camera) {
  Scan();
}

const ParametersByName& ParameterWriter::Scan() {
  scanned_ = ScanByName(camera_);
  return scanned_;
}

std::string ParameterWriter::TryWrite(const Parameter& parameter) {
  if (const auto objection = Objection(parameter, scanned_)) return *objection;
  try {
    camera_.Adapter().Write(OnBounds(parameter, scanned_));
    return "";
  } catch (const std::runtime_error& error) {
    CheckLinkAfter(camera_, error);
    return error.what();
  }
}

bool ParameterWriter::Objects(const Parameter& parameter) const {
  return Objection(parameter, scanned_).has_value();
}

WriteOutcome ParameterWriter::WriteInOrder(const std::vector<Parameter>& parameters) {
  WriteOutcome outcome;
  for (const Parameter& parameter : parameters) {
    if (outcome.reason.empty()) {
      if (Objects(parameter)) Scan();
      outcome.reason = TryWrite(parameter);
    }
    (outcome.reason.empty() ? outcome.done : outcome.notDone).push_back(parameter.name);
  }
  return outcome;
}

ReadBack ParameterWriter::ReadBackOf(const Parameter& written) {
  const auto scanned = scanned_.find(written.name);
  if (scanned == scanned_.end()) return {written.name, std::nullopt, "", true};
  Parameter now = scanned->second;
  now.value = camera_.Adapter().Read(written.name).value;
  return {written.name, now, now.metadata->unit, SameValue(now, written)};
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "diagnosis/remedies.h"

#include <fmt/format.h>

#include "parameters/selectors.h"
#include "parameters/writer.h"

namespace vireo::host {
namespace {

std::string apply(Camera& camera, ParameterWriter& writer, Selection& selection, const Remedy& remedy) {
  const std::string assignment = fmt::format("{}={}", KeyText({remedy.name, remedy.at}), remedy.value);
  const auto known = camera.Catalogue().find(remedy.name);
  if (known == camera.Catalogue().end())
    return fmt::format("not {}: the camera has no such setting", assignment);
  std::string reason = selection.Choose(remedy.at);
  if (reason.empty())
    reason =
        writer.TryWrite(ParseValue(known->second, remedy.value, FormOf(camera.Features(), known->second)));
  return reason.empty() ? assignment : fmt::format("not {}: {}", assignment, reason);
}

}  // namespace

void Apply(Camera& camera, std::vector<Verdict>& verdicts) {
  ParameterWriter writer(camera);
  Selection selection(camera);
  for (Verdict& verdict : verdicts)
    for (const Remedy& remedy : verdict.remedies)
      verdict.done.push_back(apply(camera, writer, selection, remedy));
}

}  // namespace vireo::host

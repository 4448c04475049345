// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "parameters/names.h"
#include "parameters/values.h"
#include "terminal/console.h"
#include "terminal/json.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

// What was read, and whether all that was asked for is there.
struct Answer {
  std::vector<common::Parameter> parameters;
  bool complete = true;

  void Fail(const std::string& text) {
    PrintError(text);
    complete = false;
  }
};

std::vector<std::string> namesOf(Camera& camera, const std::vector<std::string>& patterns, Answer& answer) {
  std::vector<std::string> names;
  for (const std::string& pattern : patterns) {
    try {
      for (const std::string& name : ReadableNames(camera, pattern))
        if (std::count(names.begin(), names.end(), name) == 0) names.push_back(name);
    } catch (const Failure& failure) {
      answer.Fail(failure.what());
    }
  }
  return names;
}

// Where the description's bounds do not tell what an integer's bits are, the camera's may.
void addBounds(Camera& camera, std::vector<common::Parameter>& parameters) {
  const bool enough = std::all_of(parameters.begin(), parameters.end(), [&](const auto& parameter) {
    return IsWhole(parameter, FormOf(camera.Features(), parameter));
  });
  if (enough) return;
  const ParametersByName scanned = ScanByName(camera);
  for (common::Parameter& parameter : parameters) {
    const auto found = scanned.find(parameter.name);
    if (found != scanned.end()) parameter.metadata = found->second.metadata;
  }
}

Json jsonOf(const common::Parameter& parameter, const IntegerForm& form) {
  if (IsWhole(parameter, form)) return ValueToJson(parameter, form);
  return {{"low32Bits", KnownInteger(std::get<int>(parameter.value), form)}};
}

ExitStatus get(Camera& camera, const std::vector<std::string>& patterns, bool json) {
  Answer answer;
  for (const std::string& name : namesOf(camera, patterns, answer)) {
    common::Parameter parameter = camera.Catalogue().at(name);
    const std::string failure = ReadKnown(camera, parameter);
    if (failure.empty()) {
      answer.parameters.push_back(std::move(parameter));
    } else {
      answer.Fail(failure == noEntryText ? fmt::format("{}: {}", name, failure) : failure);
    }
  }
  addBounds(camera, answer.parameters);
  camera.CheckLink();
  Json values = Json::object();
  std::string text;
  for (const common::Parameter& parameter : answer.parameters) {
    const IntegerForm form = FormOf(camera.Features(), parameter);
    values[parameter.name] = jsonOf(parameter, form);
    text += fmt::format("{}={}\n", parameter.name, WithoutControls(ShownText(parameter, form)));
  }
  if (json || !text.empty()) Print(json ? JsonText(values) : text);
  return answer.complete ? ExitStatus::Done : ExitStatus::Failed;
}

}  // namespace

void AddGetCommand(CommandLine& line) {
  const auto names = std::make_shared<std::vector<std::string>>();
  const auto json = std::make_shared<bool>(false);
  CLI::App* const command =
      line.AddCameraCommand("get", "Read parameters from the camera", Use::Reading,
                            [names, json](Camera& camera) { return get(camera, *names, *json); });
  command->add_option("NAME", *names, "Parameters to read: names in any case, or with * and ?")->required();
  command->add_flag("--json", *json, "Print JSON");
}

}  // namespace vireo::host

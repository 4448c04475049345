// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "camera/camera.h"
#include "commands/commands.h"
#include "parameters/names.h"
#include "parameters/values.h"
#include "parameters/writer.h"
#include "terminal/console.h"
#include "terminal/text.h"

namespace vireo::host {
namespace {

using common::Parameter;

Parameter parseAssignment(Camera& camera, const std::string& assignment) {
  const std::size_t equals = assignment.find('=');
  const std::string name = assignment.substr(0, equals);
  RequireParameter(camera, name);
  const Parameter& like = camera.Catalogue().at(name);
  return ParseValue(like, assignment.substr(equals + 1), FormOf(camera.Features(), like));
}

std::string lineOf(const ReadBack& read, const Parameter& wanted, const IntegerForm& form) {
  if (!read.now) return fmt::format("{} written (write-only)\n", read.name);
  const std::string unit = read.unit.empty() ? "" : " " + read.unit;
  const std::string note = read.asWritten ? "" : fmt::format(" (asked for {})", ShownText(wanted, form));
  return WithoutControls(fmt::format("{}={}{}{}", read.name, ShownText(*read.now, form), unit, note)) + '\n';
}

Json jsonOf(const ReadBack& read, const Parameter& wanted, const IntegerForm& form) {
  Json json = {{"name", read.name}, {"value", nullptr}, {"asked", ValueToJson(wanted, form)}};
  if (read.now && IsWhole(*read.now, form)) json["value"] = ValueToJson(*read.now, form);
  if (read.now && !IsWhole(*read.now, form))
    json["low32Bits"] = KnownInteger(std::get<int>(read.now->value), form);
  if (!read.unit.empty()) json["unit"] = read.unit;
  json["asWritten"] = read.asWritten;
  return json;
}

// What the camera has now, against the last value that each name was given.
void printReadBack(Camera& camera, ParameterWriter& writer, const std::vector<Parameter>& written,
                   bool json) {
  writer.Scan();
  std::string text;
  Json list = Json::array();
  for (auto wanted = written.begin(); wanted != written.end(); ++wanted) {
    const auto sameName = [&](const Parameter& later) { return later.name == wanted->name; };
    if (std::any_of(wanted + 1, written.end(), sameName)) continue;
    const ReadBack read = writer.ReadBackOf(*wanted);
    const IntegerForm form = FormOf(camera.Features(), read.now.value_or(*wanted));
    text += lineOf(read, *wanted, form);
    list.push_back(jsonOf(read, *wanted, form));
  }
  camera.CheckLink();
  Print(json ? JsonText(list) : text);
}

ExitStatus set(Camera& camera, const std::vector<std::string>& assignments, bool json) {
  std::vector<Parameter> parameters;
  for (const std::string& assignment : assignments) parameters.push_back(parseAssignment(camera, assignment));
  ParameterWriter writer(camera);
  const WriteOutcome outcome = writer.WriteInOrder(parameters);
  parameters.resize(outcome.done.size());
  if (!parameters.empty()) printReadBack(camera, writer, parameters, json);
  outcome.Require();
  return ExitStatus::Done;
}

}  // namespace

void AddSetCommand(CommandLine& line) {
  const auto assignments = std::make_shared<std::vector<std::string>>();
  const auto json = std::make_shared<bool>(false);
  CLI::App* const command =
      line.AddCameraCommand("set", "Change parameters, in order, and read them back", Use::Control,
                            [assignments, json](Camera& camera) { return set(camera, *assignments, *json); });
  command->add_flag("--json", *json, "Print JSON");
  command->add_option("NAME=VALUE", *assignments, "Parameters to change")
      ->required()
      ->check([](const std::string& text) -> std::string {
        const std::size_t equals = text.find('=');
        return equals != std::string::npos && equals > 0 ? "" : fmt::format("'{}' is not NAME=VALUE", text);
      });
}

}  // namespace vireo::host

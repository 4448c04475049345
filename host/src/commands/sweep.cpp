// SPDX-License-Identifier: MIT
#include "commands/sweep.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

#include "parameters/names.h"
#include "terminal/console.h"

namespace vireo::host {
namespace {

struct Words {
  std::string name;
  std::vector<std::string> values;
};

Words wordsOf(const std::string& option) {
  const std::size_t equals = option.find('=');
  Words words{option.substr(0, equals), {}};
  std::istringstream values(equals == std::string::npos ? "" : option.substr(equals + 1) + ',');
  for (std::string value; std::getline(values, value, ',');) words.values.push_back(value);
  return words;
}

std::string usageError(const std::string& option) {
  const Words words = wordsOf(option);
  const auto isEmpty = [](const std::string& value) { return value.empty(); };
  const bool complete = !words.name.empty() && !words.values.empty() &&
                        std::none_of(words.values.begin(), words.values.end(), isEmpty);
  return complete ? "" : fmt::format("'{}' is not NAME=VALUE,VALUE...", option);
}

}  // namespace

Sweep::Sweep(Camera& camera, TemporarySettings& settings, const std::string& option)
    : camera_(camera), settings_(settings) {
  const Words words = wordsOf(option);
  name_ = words.name;
  RequireParameter(camera, name_);
  const common::Parameter& like = camera.Catalogue().at(name_);
  for (const std::string& value : words.values)
    values_.push_back(ParseValue(like, value, FormOf(camera.Features(), like)));
}

std::string Sweep::Choose(std::size_t index) {
  const common::Parameter& wanted = values_.at(index);
  const ReadBack read = settings_.Set(wanted);
  const IntegerForm form = FormOf(camera_.Features(), read.now.value_or(wanted));
  const std::string taken = ShownText(read.now.value_or(wanted), form);
  if (!read.asWritten)
    PrintError(fmt::format("note: {} is {}{}{} (asked for {})", name_, taken, read.unit.empty() ? "" : " ",
                           read.unit, ShownText(wanted, form)));
  return taken;
}

std::string SweepName(const std::string& option) {
  return wordsOf(option).name;
}

std::size_t SweepSize(const std::string& option) {
  return wordsOf(option).values.size();
}

void AddSweepOption(CLI::App* command, std::string& option) {
  command
      ->add_option(
          "--sweep", option,
          "Grab the frames with each of these values; frames.csv tells which, and what was set before "
          "is put back")
      ->type_name("NAME=VALUE,...")
      ->check(usageError);
}

}  // namespace vireo::host

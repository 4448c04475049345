// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <memory>

#include "commands/commands.h"
#include "terminal/console.h"

namespace vireo::host {
namespace {

ExitStatus help(CommandLine& line, const std::string& name) {
  CLI::App* shown = &line.app;
  for (CLI::App* const command : line.ShownCommands()) {
    if (command->get_name() == name) shown = command;
  }
  if (!name.empty() && shown == &line.app) {
    throw Failure(ExitStatus::WrongUsage,
                  fmt::format("there is no command '{}': see 'vireo-cam --help'", name));
  }
  const std::string title = name.empty() ? "vireo-cam" : "vireo-cam " + name;
  Print(shown->get_formatter()->make_help(shown, title, CLI::AppFormatMode::Normal));
  return ExitStatus::Done;
}

}  // namespace

void AddHelpCommand(CommandLine& line) {
  const auto name = std::make_shared<std::string>();
  line.AddCommand("help", "Show this help, or a command's", [&line, name] { return help(line, *name); })
      ->add_option("COMMAND", *name, "Command to explain");
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <exception>
#include <string>

#include "commands/commands.h"
#include "console.h"

namespace {

using vireo::host::CommandLine;
using vireo::host::ExitStatus;

int endWith(ExitStatus status, const std::string& text) {
  if (!text.empty()) vireo::host::PrintError(text);
  return static_cast<int>(status);
}

void addCommands(CommandLine& line) {
  vireo::host::AddDiscoveryCommands(line);
  vireo::host::AddListCommands(line);
  vireo::host::AddParameterCommands(line);
  vireo::host::AddSettingsCommands(line);
  vireo::host::AddGrabCommand(line);
  vireo::host::AddWatchCommands(line);
  vireo::host::AddViewCommand(line);
  vireo::host::AddSimulateCommand(line);
  vireo::host::AddManualCommands(line);
}

std::string usageError(const CommandLine& line, const CLI::ParseError& error) {
  const std::vector<CLI::App*> chosen = line.app.get_subcommands();
  if (!chosen.empty()) {
    return fmt::format("{}: see 'vireo-cam {} --help'", error.what(), chosen.front()->get_name());
  }
  const std::vector<std::string> unknown = line.app.remaining();
  if (!unknown.empty()) {
    const char* const kind = unknown.front().starts_with('-') ? "option" : "command";
    return fmt::format("there is no {} '{}': see 'vireo-cam --help'", kind, unknown.front());
  }
  const bool nothingChosen = line.app.remaining_size() == 0 && error.get_name() == "RequiredError";
  return fmt::format("{}: see 'vireo-cam --help'", nothingChosen ? "a command is required" : error.what());
}

}  // namespace

int main(int argc, char** argv) {
  vireo::host::PrepareConsole();
  CommandLine line;
  try {
    addCommands(line);
    line.app.parse(argc, argv);
    return static_cast<int>(line.action());
  } catch (const CLI::Success& request) {  // --help, --version
    return line.app.exit(request);
  } catch (const CLI::ParseError& error) {
    return endWith(ExitStatus::WrongUsage, usageError(line, error));
  } catch (const vireo::host::Failure& failure) {
    return endWith(failure.status, failure.what());
  } catch (const std::exception& error) {
    return endWith(ExitStatus::Failed, error.what());
  }
}

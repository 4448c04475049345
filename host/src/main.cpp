// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <exception>
#include <sstream>
#include <string>

#include "camera/local_cameras.h"
#include "commands/commands.h"
#include "terminal/console.h"

namespace {

using vireo::host::CommandLine;
using vireo::host::ExitStatus;

int endWith(ExitStatus status, const std::string& text) {
  if (!text.empty()) vireo::host::PrintError(text);
  return static_cast<int>(status);
}

void addCommands(CommandLine& line) {
  vireo::host::AddCamerasCommand(line);
  vireo::host::AddAddressCommand(line);
  vireo::host::AddInfoCommand(line);
  vireo::host::AddListCommand(line);
  vireo::host::AddDescribeCommand(line);
  vireo::host::AddXmlCommand(line);
  vireo::host::AddGetCommand(line);
  vireo::host::AddSetCommand(line);
  vireo::host::AddRunCommand(line);
  vireo::host::AddSaveCommand(line);
  vireo::host::AddLoadCommand(line);
  vireo::host::AddDiffCommand(line);
  vireo::host::AddGrabCommand(line);
  vireo::host::AddWatchCommand(line);
  vireo::host::AddWhyCommand(line);
  vireo::host::AddBenchCommand(line);
  vireo::host::AddViewCommand(line);
  vireo::host::AddSimulateCommand(line);
  vireo::host::AddHelpCommand(line);
  vireo::host::AddCompleteCommand(line);
  vireo::host::AddManualCommand(line);
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

// Prints what --help or --version asked for, as everything is printed: a full disk is an error.
ExitStatus answer(const CommandLine& line, const CLI::Success& request) {
  std::ostringstream text;
  line.app.exit(request, text, text);
  vireo::host::Print(text.str());
  return ExitStatus::Done;
}

ExitStatus perform(CommandLine& line, int argc, char** argv) {
  try {
    addCommands(line);
    line.app.parse(argc, argv);
  } catch (const CLI::Success& request) {
    return answer(line, request);
  }
  return line.action();
}

}  // namespace

int main(int argc, char** argv) {
  vireo::host::PrepareConsole();
  vireo::host::RecordLibraryMessages();
  CommandLine line;
  try {
    return static_cast<int>(perform(line, argc, argv));
  } catch (const CLI::ParseError& error) {
    return endWith(ExitStatus::WrongUsage, usageError(line, error));
  } catch (const vireo::host::Failure& failure) {
    return endWith(failure.status, failure.what());
  } catch (const std::exception& error) {
    return endWith(ExitStatus::Failed, error.what());
  }
}

// SPDX-License-Identifier: MIT
// The man page and the shell completion, made from the command line itself while building.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "../console.h"
#include "commands.h"

namespace vireo::host {
namespace {

std::vector<CLI::App*> publicCommands(CommandLine& line) {
  return line.app.get_subcommands([](CLI::App* command) { return !command->get_group().empty(); });
}

std::string roff(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\') escaped += "\\e";
    if (c == '-') escaped += '\\';
    if (c != '\\') escaped += c;
  }
  // A line that begins with a point or a quote would be a request.
  return !escaped.empty() && (escaped.front() == '.' || escaped.front() == '\'') ? "\\&" + escaped : escaped;
}

std::string optionLine(const CLI::Option& option) {
  const std::string name = option.get_positional() ? option.get_name(true) : option.get_name(false, true);
  const bool takesValue = !option.get_positional() && option.get_items_expected_max() > 0;
  std::string text = fmt::format(".TP\n.B {}", roff(name));
  if (takesValue) text += fmt::format(" \\fI{}\\fR", roff(option.get_type_name()));
  text += "\n" + roff(option.get_description());
  if (!option.get_default_str().empty())
    text += fmt::format(" (default: {})", roff(option.get_default_str()));
  return text + "\n";
}

std::string optionLines(CLI::App& app) {
  std::string text;
  for (const CLI::Option* const option : app.get_options()) text += optionLine(*option);
  return text;
}

std::string synopsis(CLI::App& command) {
  std::string text = command.get_name() + " [OPTIONS]";
  for (const CLI::Option* const option : command.get_options()) {
    if (!option->get_positional()) continue;
    const std::string more = option->get_items_expected_max() > 1 ? "..." : "";
    text += option->get_required() ? fmt::format(" {}{}", option->get_name(true), more)
                                   : fmt::format(" [{}{}]", option->get_name(true), more);
  }
  return text;
}

std::string manPage(CommandLine& line) {
  std::string text = fmt::format(
      ".TH VIREO\\-CAM 1 \"\" \"vireo\\-cam {}\" \"User commands\"\n.SH NAME\nvireo\\-cam \\- {}\n"
      ".SH SYNOPSIS\n.B vireo\\-cam\n[\\fIOPTIONS\\fR] \\fICOMMAND\\fR [\\fIARGUMENTS\\fR]\n",
      VIREO_CAM_VERSION, roff(line.app.get_description()));
  text += ".SH OPTIONS\nThese may stand before or after the command.\n" + optionLines(line.app);
  text += ".SH COMMANDS\n";
  for (CLI::App* const command : publicCommands(line)) {
    text += fmt::format(".SS {}\n{}.\n{}", roff(synopsis(*command)), roff(command->get_description()),
                        optionLines(*command));
  }
  text += ".SH NOTES\n.nf\n" + roff(line.app.get_footer()) + "\n.fi\n";
  return text;
}

std::string longNames(CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return fmt::format("{}", fmt::join(names, " "));
}

std::string completion(CommandLine& line) {
  std::vector<std::string> names;
  std::string cases;
  for (CLI::App* const command : publicCommands(line)) {
    names.push_back(command->get_name());
    cases += fmt::format("    {}) words=\"$words {}\" ;;\n", command->get_name(), longNames(*command));
  }
  return fmt::format(R"(# bash completion for vireo-cam
_vireo_cam() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} word command= words="{0}"
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case " {1} " in *" $word "*) command=$word; break ;; esac
  done
  case $command in
    '') words="$words {1}" ;;
{2}  esac
  COMPREPLY=($(compgen -W "$words" -- "$current"))
  [ ${{#COMPREPLY[@]}} -gt 0 ] || COMPREPLY=($(compgen -f -- "$current"))
}}
complete -o filenames -F _vireo_cam vireo-cam
)",
                     longNames(line.app), fmt::join(names, " "), cases);
}

ExitStatus help(CommandLine& line, const std::string& name) {
  CLI::App* shown = &line.app;
  for (CLI::App* const command : publicCommands(line)) {
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

void AddManualCommands(CommandLine& line) {
  const auto explained = std::make_shared<std::string>();
  line.AddCommand("help", "Show this help, or a command's",
                  [&line, explained] { return help(line, *explained); })
      ->add_option("COMMAND", *explained, "Command to explain");

  const auto kind = std::make_shared<std::string>();
  CLI::App* const command =
      line.AddCommand("manual", "Print the man page or the bash completion", [&line, kind] {
        Print(*kind == "man" ? manPage(line) : completion(line));
        return ExitStatus::Done;
      });
  command->group("");  // for the build, not for people
  command->add_option("KIND", *kind, "man or completion")->required()->check(OneOf({"man", "completion"}));
}

}  // namespace vireo::host

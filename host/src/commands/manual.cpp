// SPDX-License-Identifier: MIT
// The man page and the shell completion, made from the command line itself while building.
#include <fmt/format.h>

#include <memory>

#include "commands/commands.h"
#include "terminal/console.h"

namespace vireo::host {
namespace {

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
  for (CLI::App* const command : line.ShownCommands()) {
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

// What the program is asked for where a command takes names.
std::string kindOfNames(const std::string& command) {
  if (command == "set") return "settings";
  if (command == "run") return "commands";
  if (command == "address") return "cameras";
  return command == "get" || command == "list" ? "features" : "files";
}

std::string kindOfValue(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  if (type.find('|') != std::string::npos) return type;
  if (type == "CAMERA") return "cameras";
  if (type.starts_with("NAME=")) return "settings";
  return type == "FILE" || type == "DIR" ? "files" : "none";
}

// Lines of a shell's case that know, for COMMAND:OPTION, what the option's value is; a list of words has
// bars.
std::string valueCases(const std::string& command, CLI::App& app) {
  std::string cases;
  for (const CLI::Option* const option : app.get_options()) {
    if (option->get_positional() || option->get_items_expected_max() == 0) continue;
    std::vector<std::string> names;
    for (const std::string& name : option->get_snames()) names.push_back(command + ":-" + name);
    for (const std::string& name : option->get_lnames()) names.push_back(command + ":--" + name);
    cases += fmt::format("    {}) kind='{}' ;;\n", fmt::join(names, " | "), kindOfValue(*option));
  }
  return cases;
}

constexpr const char* completionScript = R"(# bash completion for vireo-cam
# Asks the program, about the camera that the line names.
_vireo_cam_ask() {{
  local i camera=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${{COMP_WORDS[i]}} in
      -s | --simulate) camera=(--simulate) ;;
      -a | --address)
        [ "${{COMP_WORDS[i + 1]}}" = = ] && i=$((i + 1))
        [ $((i + 1)) -lt "$COMP_CWORD" ] && camera=(--address "${{COMP_WORDS[i + 1]}}") ;;
    esac
  done
  "${{COMP_WORDS[0]}}" "${{camera[@]}}" --timeout 0 complete "$@" 2>/dev/null
}}
_vireo_cam() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}} name= word command=
  local words="{globals}" kind=files
  # The shell makes three words of NAME=VALUE.
  if [ "$current" = = ]; then
    name=$before current=
  elif [ "$before" = = ]; then
    name=${{COMP_WORDS[COMP_CWORD - 2]}} before=$name
  fi
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case " {commands} " in *" $word "*) command=$word; break ;; esac
  done
  case $command in
    '') kind='{bars}' ;;
    help) kind='{bars}' ;;
{cases}  esac
  [ "$command" = set ] && [ -n "$name" ] && kind=values
  case $command:$before in
{values}  esac
  case $kind:$current in
    *:-*) ;;
    *\|*) words=${{kind//|/ }} ;;
    files:*) words=; compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- "$current")); return ;;
    none:*) words= ;;
    *) words=$(_vireo_cam_ask "$kind" "$name") ;;
  esac
  COMPREPLY=($(compgen -W "$words" -- "$current"))
  [[ ${{COMPREPLY[0]}} = *= ]] && compopt -o nospace 2>/dev/null
  return 0
}}
complete -F _vireo_cam vireo-cam
)";

std::string completion(CommandLine& line) {
  std::vector<std::string> names;
  std::string cases;
  std::string values;
  for (CLI::App* const command : line.ShownCommands()) {
    const std::string name = command->get_name();
    names.push_back(name);
    if (name != "help")
      cases += fmt::format("    {0}) words=\"$words {1}\" kind={2} ;;\n", name, longNames(*command),
                           kindOfNames(name));
    values += valueCases(name, *command);
  }
  // A command's own option comes first: -f may mean another thing elsewhere.
  return fmt::format(completionScript, fmt::arg("globals", longNames(line.app)),
                     fmt::arg("commands", fmt::join(names, " ")), fmt::arg("bars", fmt::join(names, "|")),
                     fmt::arg("cases", cases), fmt::arg("values", values + valueCases("*", line.app)));
}

}  // namespace

void AddManualCommand(CommandLine& line) {
  const auto kind = std::make_shared<std::string>();
  CLI::App* const command =
      line.AddCommand("manual", "Print the man page or the bash completion", [&line, kind] {
        Print(*kind == "man" ? manPage(line) : completion(line));
        return ExitStatus::Done;
      });
  command->group("");  // not shown
  command->add_option("KIND", *kind, "man or completion")->required()->check(OneOf({"man", "completion"}));
}

}  // namespace vireo::host

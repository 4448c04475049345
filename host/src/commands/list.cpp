// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "../camera.h"
#include "../console.h"
#include "../output_file.h"
#include "../parameter_rows.h"
#include "../parameter_values.h"
#include "brio/fnd/log.h"
#include "commands.h"
#include "vireo/genicam/xml_parser.h"

namespace vireo::host {
namespace {

struct ListOptions {
  std::string file;
  std::vector<std::string> patterns;
  bool detailed = false;
  bool json = false;
  bool csv = false;
};

void addFormatOptions(CLI::App* command, ListOptions& options) {
  command->add_flag("--long", options.detailed, "Add categories and descriptions");
  CLI::Option* const json = command->add_flag("--json", options.json, "Print JSON");
  command->add_flag("--csv", options.csv, "Print comma-separated values")->excludes(json);
}

ExitStatus print(const std::vector<ParameterRow>& rows, const ListOptions& options) {
  const RowFormat format = options.json  ? RowFormat::AsJson
                           : options.csv ? RowFormat::AsCsv
                                         : RowFormat::AsTable;
  Print(RenderRows(Matching(rows, options.patterns), format, options.detailed));
  return ExitStatus::Done;
}

ExitStatus list(Camera& camera, const ListOptions& options) {
  const genicam::NodeMap nodes = DescribedNodes(camera);
  std::vector<ParameterRow> rows;
  for (const common::Parameter& parameter : camera.Adapter().Scan()) rows.push_back(RowOf(parameter, nodes));
  for (const auto& [name, node] : nodes) {
    if (getNodeType(node) == genicam::NodeType::Command) rows.push_back(RowOf(name, node));
  }
  std::sort(rows.begin(), rows.end(),
            [](const auto& one, const auto& other) { return one.name < other.name; });
  return print(rows, options);
}

/// While it lives, standard error shows what the parser leaves out of a description, and why.
class LeftOutRecords final : public brio::fnd::Logger {
 public:
  LeftOutRecords() {
    threshold = brio::fnd::loglevel::Debug;
    brio::fnd::SetLogger(this);
  }
  ~LeftOutRecords() override { brio::fnd::SetLogger(nullptr); }

  void Record(std::int32_t, const std::string& text) override { Record(text); }
  void Record(const std::string& text) override {
    const std::size_t message = text.find(": ");
    if (message != std::string::npos && text.find(" is left out: ") != std::string::npos)
      PrintError(text.substr(message + 2));
  }
};

ExitStatus describe(const ListOptions& options) {
  const std::string document = ReadFile(options.file);
  std::vector<ParameterRow> rows;
  const LeftOutRecords leftOut;
  try {
    for (const auto& [name, node] : genicam::XmlParser::parse(document)) rows.push_back(RowOf(name, node));
  } catch (const std::runtime_error& error) {
    throw Failure(ExitStatus::Failed, fmt::format("{}: {}", options.file, error.what()));
  }
  return print(rows, options);
}

ExitStatus xml(Camera& camera, const std::string& file, bool force) {
  const common::NativeDocument document = camera.Adapter().GetNativeParameterDocument();
  if (document.content.empty())
    throw Failure(ExitStatus::Failed, "the camera gives no description of itself");
  if (file.empty() || file == "-") {
    Print(document.content);
    return ExitStatus::Done;
  }
  OutputFile output(file, force);
  output.Write(document.content);
  output.Commit();
  return ExitStatus::Done;
}

}  // namespace

void AddListCommands(CommandLine& line) {
  const auto listed = std::make_shared<ListOptions>();
  CLI::App* command = line.AddCommand(
      "list", "Parameters and commands: value, unit, bounds, entries and access", [&line, listed] {
        return WithCamera(line.camera, Use::Reading, [&](Camera& camera) { return list(camera, *listed); });
      });
  command->add_option("PATTERN", listed->patterns, "Names to show: with * and ?, or a part of the name");
  addFormatOptions(command, *listed);

  const auto described = std::make_shared<ListOptions>();
  command = line.AddCommand("describe", "A camera description file, without the camera",
                            [described] { return describe(*described); });
  command->add_option("FILE", described->file, "GenICam description (XML)")->required();
  command->add_option("NAME", described->patterns, "Names to show: with * and ?, or a part of the name");
  addFormatOptions(command, *described);

  struct XmlOptions {
    std::string file;
    bool force = false;
  };
  const auto target = std::make_shared<XmlOptions>();
  command = line.AddCommand("xml", "The camera's own description", [&line, target] {
    if (!target->file.empty() && target->file != "-") RefuseExisting(target->file, target->force);
    return WithCamera(line.camera, Use::Reading,
                      [&](Camera& camera) { return xml(camera, target->file, target->force); });
  });
  command->add_option("-o,--output", target->file, "File to write; default: standard output")
      ->type_name("FILE");
  command->add_flag("--force", target->force, "Overwrite an existing file");
}

}  // namespace vireo::host

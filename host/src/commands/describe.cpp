// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <memory>

#include "brio/fnd/record.h"
#include "camera/adapter_texts.h"
#include "commands/commands.h"
#include "commands/row_options.h"
#include "terminal/console.h"
#include "terminal/output_file.h"
#include "vireo/genicam/feature_details.h"

namespace vireo::host {
namespace {

// While it lives, standard error shows what the parser leaves out of a description, and why.
class LeftOutRecords final : public brio::fnd::Logger {
 public:
  LeftOutRecords() {
    threshold = brio::fnd::loglevel::Debug;
    brio::fnd::SetLogger(this);
  }
  ~LeftOutRecords() override { brio::fnd::SetLogger(nullptr); }

  void Record(std::int32_t, const std::string& text) override { Record(text); }
  void Record(const std::string& text) override {
    const std::size_t message = text.find(adaptertext::beforeMessage);
    if (message == std::string::npos || text.find(adaptertext::leftOut) == std::string::npos) return;
    PrintError(text.substr(message + adaptertext::beforeMessage.size()));
  }
};

ExitStatus describe(const std::string& file, const RowOptions& options) {
  const std::string document = ReadInput(file);
  std::vector<ParameterRow> rows;
  const LeftOutRecords leftOut;
  try {
    const genicam::DetailedFeatures features = genicam::parseWithDetails(document);
    for (const auto& entry : features.nodes) rows.push_back(RowOf(entry.first, features));
  } catch (const std::runtime_error& error) {
    throw Failure(ExitStatus::Failed, fmt::format("{}: {}", InputName(file), error.what()));
  }
  PrintRows(rows, options);
  return ExitStatus::Done;
}

}  // namespace

void AddDescribeCommand(CommandLine& line) {
  const auto file = std::make_shared<std::string>();
  const auto options = std::make_shared<RowOptions>();
  CLI::App* const command = line.AddCommand("describe", "A camera description file, without the camera",
                                            [file, options] { return describe(*file, *options); });
  command->add_option("FILE", *file, "GenICam description (XML); - for standard input")->required();
  command->add_option("NAME", options->patterns, "Names to show: with * and ?, or a part of the name");
  options->AddFormatsTo(command);
}

}  // namespace vireo::host

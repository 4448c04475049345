// SPDX-License-Identifier: MIT
#include "commands/row_options.h"

#include "terminal/console.h"

namespace vireo::host {

void RowOptions::AddFormatsTo(CLI::App* command) {
  command->add_flag("--long", detailed, "Add categories and descriptions; of one parameter, all there is");
  CLI::Option* const asJson = command->add_flag("--json", json, "Print JSON");
  command->add_flag("--csv", csv, "Print comma-separated values")->excludes(asJson);
}

void PrintRows(const std::vector<ParameterRow>& rows, const RowOptions& options) {
  const RowFormat format = options.json  ? RowFormat::AsJson
                           : options.csv ? RowFormat::AsCsv
                                         : RowFormat::AsTable;
  const std::vector<ParameterRow> shown = Matching(rows, options.patterns, options.detailed);
  const bool one = options.detailed && shown.size() == 1 && format == RowFormat::AsTable;
  Print(one ? SheetOf(shown.front(), rows) : RenderRows(shown, format, options.detailed));
}

}  // namespace vireo::host

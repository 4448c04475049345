// SPDX-License-Identifier: MIT
#include "commands/differences.h"

#include "terminal/console.h"
#include "terminal/table.h"

namespace vireo::host {

std::string DifferencesText(const std::vector<Difference>& differences, const std::string& file,
                            const std::string& elsewhere) {
  if (differences.empty()) return "";
  TextTable table({"NAME", file, elsewhere, "REASON"});
  for (const Difference& difference : differences)
    table.AddRow({difference.key, difference.inFile, difference.elsewhere, difference.reason});
  return table.Text(OutputWidth());
}

Json DifferencesJson(const std::vector<Difference>& differences, const std::string& file,
                     const std::string& elsewhere) {
  Json list = Json::array();
  for (const Difference& difference : differences) {
    list.push_back({{"name", difference.key},
                    {file, difference.inFile},
                    {elsewhere, difference.elsewhere},
                    {"reason", difference.reason}});
  }
  return list;
}

}  // namespace vireo::host

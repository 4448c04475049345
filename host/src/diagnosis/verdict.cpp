// SPDX-License-Identifier: MIT
#include "diagnosis/verdict.h"

#include <fmt/format.h>

#include "terminal/text.h"

namespace vireo::host {

std::string VerdictsText(const std::vector<Verdict>& verdicts) {
  std::string text;
  std::size_t number = 0;
  for (const Verdict& verdict : verdicts) {
    text += fmt::format("{}. {} [{}]\n", ++number, verdict.what, verdict.cause);
    for (const std::string& line : verdict.evidence) text += fmt::format("   {}\n", line);
    for (const std::string& line : verdict.todo) text += fmt::format("   -> {}\n", line);
    for (const std::string& line : verdict.done) text += fmt::format("   done: {}\n", line);
  }
  return WithoutControls(text, "\n");
}

Json VerdictsJson(const std::vector<Verdict>& verdicts) {
  Json list = Json::array();
  for (const Verdict& verdict : verdicts) {
    Json& object = list.emplace_back(Json{{"cause", verdict.cause},
                                          {"what", verdict.what},
                                          {"evidence", verdict.evidence},
                                          {"todo", verdict.todo}});
    if (!verdict.done.empty()) object["done"] = verdict.done;
  }
  return list;
}

}  // namespace vireo::host

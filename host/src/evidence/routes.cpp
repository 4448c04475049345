// SPDX-License-Identifier: MIT
#include "evidence/routes.h"

#include <arpa/inet.h>

namespace vireo::host {
namespace {

constexpr std::size_t columns = 8;  // Iface Destination Gateway Flags RefCnt Use Metric Mask, and more

// The kernel prints the bytes as they lie in its memory.
std::uint32_t addressFrom(const std::string& text) {
  return ntohl(NumberFrom<std::uint32_t>(text, 16).value_or(0));
}

}  // namespace

std::vector<Route> Routes(const SystemFiles& files) {
  std::vector<Route> routes;
  for (const std::string& line : LinesOf(files.Text("proc/net/route"))) {
    const std::vector<std::string> words = WordsOf(line);
    if (words.size() < columns || words[0] == "Iface") continue;
    routes.push_back({words[0], addressFrom(words[1]), addressFrom(words[7]), addressFrom(words[2]),
                      NumberFrom<std::uint32_t>(words[6]).value_or(0)});
  }
  return routes;
}

std::optional<Route> RouteTo(const std::vector<Route>& routes, std::uint32_t address) {
  std::optional<Route> best;
  for (const Route& route : routes) {
    if (!route.LeadsTo(address)) continue;
    const bool isBetter =
        !best || route.mask > best->mask || (route.mask == best->mask && route.metric < best->metric);
    if (isBetter) best = route;
  }
  return best;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "parameters/names.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <algorithm>
#include <numeric>

#include "terminal/text.h"

namespace vireo::host {
namespace {

// How many characters must be changed, added or taken away to turn one name into the other.
std::size_t distance(const std::string& one, const std::string& other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
    }
  }
  return row.back();
}

Failure notAParameterFailure(Camera& camera, const std::string& name) {
  for (const std::string& command : CommandNames(camera.Nodes())) {
    if (Lowered(command) == Lowered(name))
      return Failure(ExitStatus::Failed, fmt::format("{0} is a command: use 'vireo-cam run {0}'", command));
  }
  std::vector<std::string> known;
  for (const auto& entry : camera.Catalogue()) known.push_back(entry.first);
  return UnknownNameFailure(name, known);
}

}  // namespace

void RequireParameter(Camera& camera, const std::string& name) {
  if (!camera.Catalogue().contains(name)) throw notAParameterFailure(camera, name);
  if (IsAvailable(camera.Nodes(), name)) return;
  throw Failure(ExitStatus::Failed, fmt::format("{} is not available on this camera", name));
}

bool MatchesPattern(const std::string& name, const std::string& pattern) {
  std::string glob;
  for (const char c : pattern) {
    if (c == '[' || c == '\\') glob += '\\';  // these mean themselves here
    glob += c;
  }
  if (pattern.find_first_of("*?") == std::string::npos) glob = "*" + glob + "*";
  return fnmatch(glob.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

std::vector<std::string> ReadableNames(Camera& camera, const std::string& pattern) {
  std::vector<std::string> names;
  for (const auto& entry : camera.Catalogue()) {
    const std::string& name = entry.first;
    if (Lowered(name) == Lowered(pattern)) {
      RequireParameter(camera, name);
      return {name};
    }
    const auto node = camera.Nodes().find(name);
    const bool writeOnly =
        node != camera.Nodes().end() && getAccessMode(node->second) == genicam::AccessMode::WriteOnly;
    if (!writeOnly && IsAvailable(camera.Nodes(), name) && MatchesPattern(name, pattern))
      names.push_back(name);
  }
  if (names.empty()) throw notAParameterFailure(camera, pattern);
  return names;
}

bool IsAvailable(const genicam::NodeMap& nodes, const std::string& name) {
  const auto node = nodes.find(name);
  return node == nodes.end() || getAccessMode(node->second) != genicam::AccessMode::NotAvailable;
}

std::vector<std::string> CommandNames(const genicam::NodeMap& nodes) {
  std::vector<std::string> names;
  for (const auto& [name, node] : nodes) {
    if (getNodeType(node) == genicam::NodeType::Command) names.push_back(name);
  }
  return names;
}

Failure UnknownNameFailure(const std::string& name, const std::vector<std::string>& known) {
  const std::string wanted = Lowered(name);
  std::string best;
  std::size_t bestDistance = std::max<std::size_t>(name.size() / 3, 2) + 1;
  for (const std::string& candidate : known) {
    const std::size_t steps = distance(wanted, Lowered(candidate));
    if (steps >= bestDistance) continue;
    best = candidate;
    bestDistance = steps;
  }
  const std::string hint =
      best.empty() ? "'vireo-cam list' shows what it has" : fmt::format("did you mean {}?", best);
  return Failure(ExitStatus::Failed, fmt::format("the camera has no '{}': {}", name, hint));
}

}  // namespace vireo::host

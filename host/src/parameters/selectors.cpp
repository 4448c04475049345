// SPDX-License-Identifier: MIT
#include "parameters/selectors.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "camera/link_check.h"
#include "terminal/interrupt.h"

namespace vireo::host {
namespace {

using common::Parameter;

bool canSelect(const genicam::NodeVariant& node) {
  const genicam::NodeType kind = getNodeType(node);
  return (kind == genicam::NodeType::Integer || kind == genicam::NodeType::Enumeration) &&
         getAccessMode(node) == genicam::AccessMode::ReadWrite;
}

}  // namespace

Selectors::Selectors(const genicam::DetailedFeatures& features) {
  for (const auto& [name, details] : features.details) {
    if (details.selected.empty() || !canSelect(features.nodes.at(name))) continue;
    selectors_.insert(name);
    for (const std::string& selected : details.selected) selecting_[selected].push_back(name);
  }
}

// A selector comes after those that select it; a circle of them is entered once.
void Selectors::collect(const std::string& name, std::set<std::string>& seen,
                        std::vector<std::string>& order) const {
  const auto found = selecting_.find(name);
  if (found == selecting_.end()) return;
  for (const std::string& selector : found->second) {
    if (!seen.insert(selector).second) continue;
    collect(selector, seen, order);
    order.push_back(selector);
  }
}

std::vector<std::string> Selectors::Of(const std::string& name) const {
  std::vector<std::string> order;
  std::set<std::string> seen = {name};
  if (!IsSelector(name)) collect(name, seen, order);
  return order;
}

Selection::Selection(Camera& camera) : camera_(camera) {
  CatchInterrupts();
}

Selection::~Selection() {
  try {
    Restore();
  } catch (const std::exception&) {  // the link is lost: whoever works with the camera has noticed
  }
}

// Asks what a selector has before it is written for the first time.
std::string Selection::remember(const std::string& name) {
  if (chosen_.contains(name)) return "";
  const auto known = camera_.Catalogue().find(name);
  if (known == camera_.Catalogue().end()) return fmt::format("the camera has no '{}'", name);
  Parameter now = known->second;
  if (std::string reason = ReadInto(camera_, now); !reason.empty()) return reason;
  chosen_[name] = ShownText(now, FormOf(camera_.Features(), now));
  before_.push_back(std::move(now));
  return "";
}

std::string Selection::write(const std::string& name, const std::string& value) {
  if (camera_.IsBusy()) return "another program controls the camera";
  try {
    Parameter wanted = camera_.Catalogue().at(name);
    const IntegerForm form = FormOf(camera_.Features(), wanted);
    wanted = ParseValue(wanted, value, form);
    camera_.Adapter().Write(wanted);
    const Parameter now = camera_.Adapter().Read(name);
    chosen_[name] = ShownText(now, form);
    return SameValue(now, wanted) ? "" : fmt::format("the camera took {}", chosen_[name]);
  } catch (const std::runtime_error& error) {
    CheckLinkAfter(camera_, error);
    return error.what();
  }
}

// A selector's own value may depend on those before it, so it is written again behind one that moved.
std::string Selection::Choose(const SelectorValues& at) {
  if (Interrupted()) throw Failure(ExitStatus::Failed, "interrupted: selectors are as they were before");
  bool moved = false;
  for (const auto& [name, value] : at) {
    std::string reason = remember(name);
    if (reason.empty() && (moved || chosen_[name] != value)) {
      reason = write(name, value);
      moved = true;
    }
    if (!reason.empty()) return reason;
  }
  return "";
}

std::vector<std::string> Selection::Restore() {
  std::vector<std::string> failures;
  for (const Parameter& before : std::exchange(before_, {})) {
    const std::string value = ShownText(before, FormOf(camera_.Features(), before));
    if (chosen_[before.name] == value) continue;
    if (value.empty()) {
      failures.push_back(
          fmt::format("{} held none of its entries and is {} now", before.name, chosen_[before.name]));
      continue;
    }
    const std::string reason = write(before.name, value);
    if (!reason.empty())
      failures.push_back(fmt::format("{} is not {} again: {}", before.name, value, reason));
  }
  chosen_.clear();
  return failures;
}

}  // namespace vireo::host

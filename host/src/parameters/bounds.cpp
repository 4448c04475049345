// SPDX-License-Identifier: MIT
#include "parameters/bounds.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace vireo::host {
namespace {

using common::Parameter;
using common::ParameterMetadata;

std::optional<double> numberOf(const Parameter& parameter) {
  if (const int* const number = std::get_if<int>(&parameter.value)) return *number;
  if (const double* const number = std::get_if<double>(&parameter.value)) return *number;
  return std::nullopt;
}

bool isInteger(const ParameterMetadata& metadata) {
  return metadata.increment.has_value();
}

// A float was read in single precision, so it may seem to lie a little beyond the bound that it is.
bool isBound(double number, double bound, const ParameterMetadata& metadata) {
  return !isInteger(metadata) && static_cast<float>(number) == static_cast<float>(bound);
}

std::optional<std::string> rangeObjection(const Parameter& wanted, const ParameterMetadata& metadata) {
  const std::optional<double> number = numberOf(wanted);
  if (!number || !metadata.min || !metadata.max) return std::nullopt;
  const bool fits = *number >= *metadata.min && *number <= *metadata.max;
  if (fits || isBound(*number, *metadata.min, metadata) || isBound(*number, *metadata.max, metadata))
    return std::nullopt;
  return fmt::format("{} takes {} to {}{}{}, not {}", wanted.name, *metadata.min, *metadata.max,
                     metadata.unit.empty() ? "" : " ", metadata.unit, *number);
}

std::optional<std::string> stepObjection(const Parameter& wanted, const ParameterMetadata& metadata) {
  const std::optional<double> number = numberOf(wanted);
  if (!number || !metadata.min || metadata.increment.value_or(1.0) <= 1.0) return std::nullopt;
  const double steps = (*number - *metadata.min) / *metadata.increment;
  if (steps == std::floor(steps)) return std::nullopt;
  const double below = *metadata.min + std::floor(steps) * *metadata.increment;
  return fmt::format("{} goes in steps of {} from {}: {} or {}, not {}", wanted.name, *metadata.increment,
                     *metadata.min, below, below + *metadata.increment, *number);
}

std::optional<std::string> entryObjection(const Parameter& wanted, const ParameterMetadata& metadata) {
  const std::string* const text = std::get_if<std::string>(&wanted.value);
  const auto& entries = metadata.entries;
  if (text == nullptr || entries.empty() || std::count(entries.begin(), entries.end(), *text) != 0) {
    return std::nullopt;
  }
  return fmt::format("{} has no entry '{}', it has: {}", wanted.name, *text, fmt::join(entries, " "));
}

}  // namespace

std::optional<std::string> Objection(const Parameter& wanted, const ParametersByName& scanned) {
  const auto found = scanned.find(wanted.name);
  if (found == scanned.end() || !found->second.metadata) return std::nullopt;
  const ParameterMetadata& metadata = *found->second.metadata;
  if (!metadata.writable) return fmt::format("{} is read-only", wanted.name);
  if (auto objection = rangeObjection(wanted, metadata)) return objection;
  if (auto objection = stepObjection(wanted, metadata)) return objection;
  return entryObjection(wanted, metadata);
}

Parameter OnBounds(const Parameter& wanted, const ParametersByName& scanned) {
  Parameter fitted = wanted;
  const auto found = scanned.find(wanted.name);
  double* const number = std::get_if<double>(&fitted.value);
  if (number == nullptr || found == scanned.end() || !found->second.metadata) return fitted;
  const ParameterMetadata& metadata = *found->second.metadata;
  for (const std::optional<double>& bound : {metadata.min, metadata.max})
    if (bound && isBound(*number, *bound, metadata)) *number = *bound;
  return fitted;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vireo::host {

/// Selectors and the values that they have, the outermost first.
using SelectorValues = std::vector<std::pair<std::string, std::string>>;

/// Names a setting in a file: a parameter, and the selector values for which it is kept.
struct SettingKey {
  std::string name;
  SelectorValues at;
};

/// Such as Gain, Gain[GainSelector=Red] and LUTValue[LUTSelector=Luminance,LUTIndex=7].
std::string KeyText(const SettingKey& key);
/// A text that is not such a key is the name of a parameter.
SettingKey KeyFrom(const std::string& text);

}  // namespace vireo::host

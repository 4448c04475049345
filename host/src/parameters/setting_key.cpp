// SPDX-License-Identifier: MIT
#include "parameters/setting_key.h"

#include <sstream>

namespace vireo::host {

std::string KeyText(const SettingKey& key) {
  std::string text = key.name;
  for (const auto& [selector, value] : key.at)
    text += (text.size() == key.name.size() ? '[' : ',') + selector + '=' + value;
  return key.at.empty() ? text : text + ']';
}

SettingKey KeyFrom(const std::string& text) {
  const std::size_t bracket = text.find('[');
  if (bracket == std::string::npos || text.back() != ']') return {text, {}};
  SettingKey key = {text.substr(0, bracket), {}};
  std::istringstream selectors(text.substr(bracket + 1, text.size() - bracket - 2));
  for (std::string selector; std::getline(selectors, selector, ',');) {
    const std::size_t equals = selector.find('=');
    if (equals == std::string::npos) return {text, {}};
    key.at.emplace_back(selector.substr(0, equals), selector.substr(equals + 1));
  }
  return key;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#include "terminal/json.h"

namespace vireo::host {

std::string JsonText(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string JsonLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string ValueText(const Json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

}  // namespace vireo::host

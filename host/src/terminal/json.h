// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace vireo::host {

/// Keeps the members in the order in which they were added.
using Json = nlohmann::ordered_json;

/// JSON text for people, with a line end. Bytes that are not UTF-8 are replaced.
std::string JsonText(const Json& json);
/// The same on one line.
std::string JsonLine(const Json& json);

/// One value without the quotes that a text has in JSON.
std::string ValueText(const Json& value);

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vireo::host {

// IPv4 addresses in the host's byte order.

/// Such as "192.168.0.7".
std::string Ipv4Text(std::uint32_t address);
/// None when the text is anything else.
std::optional<std::uint32_t> Ipv4From(const std::string& text);

}  // namespace vireo::host

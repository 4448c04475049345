// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace vireo::host {

// Numbers in text, the same in every locale. `base` is for whole numbers.

/// Takes the number that `text` begins with off its front. None, and `text` unchanged, when it begins with
/// something else or the type cannot hold the number.
template <typename Number, typename... Base>
std::optional<Number> TakeNumber(std::string_view& text, Base... base) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base...);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

/// The number that the whole of `text` is; none when it is anything else.
template <typename Number, typename... Base>
std::optional<Number> NumberFrom(std::string_view text, Base... base) {
  const std::optional<Number> number = TakeNumber<Number>(text, base...);
  return text.empty() ? number : std::nullopt;
}

}  // namespace vireo::host

// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

namespace vireo::genicam {

/// A few names known at compile time and what each stands for. Every name has a slot of its own, which its
/// length and three of its letters tell, or the table does not compile. So a look-up is one comparison whose
/// outcome alone a processor has to guess, and elements are looked up for most of the time that parsing
/// takes.
template <typename Meaning, std::size_t rowCount>
class NameTable {
 public:
  consteval explicit NameTable(const std::array<std::pair<std::string_view, Meaning>, rowCount>& rows) {
    for (const auto& [name, meaning] : rows) {
      Slot& slot = slots_[slotOf(name.data(), name.size())];
      if (slot.name[0] != '\0' || name.size() > longestName)
        throw "two names of one slot, or a name too long";
      std::copy(name.begin(), name.end(), slot.name.begin());
      slot.meaning = meaning;
    }
  }

  /// Null for a name that is not in the table.
  const Meaning* find(const char* name) const {
    const std::size_t size = std::strlen(name);
    if (size == 0 || size > longestName) return nullptr;
    const Slot& slot = slots_[slotOf(name, size)];
    return std::memcmp(slot.name.data(), name, size + 1) == 0 ? &slot.meaning : nullptr;
  }

 private:
  static constexpr std::size_t slotCount = 128;
  static constexpr std::size_t longestName = 19;

  struct Slot {
    std::array<char, longestName + 1> name{};  ///< filled up with NUL
    Meaning meaning{};
  };

  static constexpr std::size_t slotOf(const char* name, std::size_t size) {
    const auto letter = [&](std::size_t i) { return static_cast<unsigned char>(name[i]); };
    return (size * 5 + letter(0) * 29u + letter(size / 2) + letter(size - 1) * 7u) % slotCount;
  }

  std::array<Slot, slotCount> slots_{};
};

}  // namespace vireo::genicam

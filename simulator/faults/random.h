// SPDX-License-Identifier: MIT
// Random numbers that are the same in every run: the splitmix64 generator.
#pragma once

#include <cstdint>

namespace vireo::simulator {

inline constexpr std::uint64_t goldenRatio = 0x9e3779b97f4a7c15;

/// The generator's finaliser.
constexpr std::uint64_t Mixed(std::uint64_t x) {
  x = (x ^ x >> 30) * 0xbf58476d1ce4e5b9;
  x = (x ^ x >> 27) * 0x94d049bb133111eb;
  return x ^ x >> 31;
}

class RandomNumbers {
 public:
  explicit RandomNumbers(std::uint64_t seed) : state_(seed) {}
  std::uint64_t Next() { return Mixed(state_ += goldenRatio); }

 private:
  std::uint64_t state_;
};

}  // namespace vireo::simulator

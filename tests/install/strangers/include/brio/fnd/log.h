// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace brio::fnd {

struct Logger {
  virtual ~Logger() = default;
  virtual void Rotate() {}
  virtual void Record(std::int32_t level, const std::string& text) = 0;
  virtual void Record(const std::string& text) = 0;
  const char* owner = "stranger";
  std::int32_t threshold = 20;
};

Logger& Log();
bool HasLogger();
void InstallLogger(Logger& logger);

}  // namespace brio::fnd

// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "support/program.h"

/// A mistake must be answered with one line on standard error, and a status that tells its kind.
struct Mistake {
  std::string arguments;
  int status;
  const char* text;
};

inline void expectOneLine(const Mistake& mistake) {
  SCOPED_TRACE(mistake.arguments);
  const auto result = run(mistake.arguments);
  EXPECT_EQ(result.status, mistake.status);
  EXPECT_THAT(result.out, testing::IsEmpty());
  EXPECT_THAT(result.err,
              testing::AllOf(testing::StartsWith("vireo-cam: "), testing::HasSubstr(mistake.text)));
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
}

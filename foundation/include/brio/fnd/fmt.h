// SPDX-License-Identifier: MIT
#pragma once

// What fmt 9 and fmt 11 name differently, in one place; everything else here is written so that both take it.
// fmt 11 refuses enumerations that fmt 9 would format as numbers: the build refuses them with fmt 9 too.
#if __has_include(<fmt/base.h>)
#include <fmt/base.h>
#else
#include <fmt/core.h>
#endif

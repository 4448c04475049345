// SPDX-License-Identifier: MIT
#pragma once

/// Marks what a library gives away; everything else is compiled with hidden visibility.
#define BRIO_EXPORT __attribute__((visibility("default")))
#define BRIO_HIDDEN __attribute__((visibility("hidden")))

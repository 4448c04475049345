// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "brio/fnd/export.h"

namespace brio::fnd {

/// The calling thread's name as the operating system knows it; empty for a thread without one.
BRIO_EXPORT std::string ThreadName();

}  // namespace brio::fnd

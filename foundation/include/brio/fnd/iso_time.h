// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "brio/fnd/export.h"

namespace brio::fnd {

/// UTC time stamp such as 2026-03-04T05:06:07.123457 of `time` in seconds since the Unix epoch. The fraction
/// keeps at most `precision` significant digits, without trailing zeros and never with an exponent; a
/// fraction of zero, or one that rounds to one, is left out. No zone designator. Safe on any thread;
/// independent of the locale.
BRIO_EXPORT std::string IsoTime(double time, std::uint8_t precision);

/// `IsoTime` of the system clock.
BRIO_EXPORT std::string IsoTimeNow(std::int8_t precision);

}  // namespace brio::fnd

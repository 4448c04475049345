// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "terminal/json.h"
#include "vireo/common/parameter.h"
#include "vireo/genicam/feature_details.h"

namespace vireo::host {

/// What the 32 bits that the adapter delivers of an integer are, and how they are written. The range that the
/// camera and its description give decides: within 32 bits they are the value, with or without a sign;
/// beyond, they are its low bits and the value is not known.
struct IntegerForm {
  enum class Bits { Signed, Unsigned, Low };
  enum class Notation { Decimal, Ipv4, Mac };

  Bits bits = Bits::Signed;
  Notation notation = Notation::Decimal;
};

/// How the description wants a feature's number to be shown.
IntegerForm::Notation NotationOf(const genicam::DetailedFeatures& features, const std::string& name);

/// Bounds count when `parameter` comes from a scan.
IntegerForm FormOf(const genicam::DetailedFeatures& features, const common::Parameter& parameter);

/// False for an integer of which only the low bits are known.
bool IsWhole(const common::Parameter& parameter, const IntegerForm& form);

/// The integer as far as it is known; for one that is not whole the low 32 bits.
std::int64_t KnownInteger(int delivered, const IntegerForm& form);

/// The value as people read it: "705032704 (low 32 bits)", "192.168.0.7"; not an integer: as it is.
std::string ShownText(const common::Parameter& parameter, const IntegerForm& form);

/// A whole number of at most 53 bits in decimal or after 0x, and in the notation where that is another.
std::optional<std::int64_t> IntegerFrom(const std::string& text, const IntegerForm& form);
/// The words for what `IntegerFrom` takes.
const char* IntegerWords(const IntegerForm& form);

}  // namespace vireo::host

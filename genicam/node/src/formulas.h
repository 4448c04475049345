// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <utility>

#include "links.h"

namespace vireo::genicam {

/// The value of a swiss knife. Nothing unless every input is a constant.
std::optional<Number> formulaValue(const NodeIndex& index, const Links& links, const LinkedNode& node);

/// What a converter makes of the number behind it. Nothing unless its other inputs are constants.
std::optional<Number> converted(const NodeIndex& index, const Links& links, const LinkedNode& node,
                                const Number& behind);

/// What a converter makes of a range behind it, smaller bound first. Nothing where its formula is not known,
/// or not known to rise or fall all the way.
std::optional<std::pair<Number, Number>> convertedRange(const NodeIndex& index, const Links& links,
                                                        const LinkedNode& node, const Number& min,
                                                        const Number& max);

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "vireo/common/adapter_base.h"
#include "vireo/genicam/node.h"

// What the host is told of the parameters, from the cached node map alone.

namespace vireo::genicam {

/// The same type and value in a new parameter, its value read by the accessor of its type; types other than
/// Int32, Float and Bool become texts.
Parameter withExactType(const Parameter& parameter);

vireo::common::ParameterMetadata nodeMetadata(const std::string& name, const NodeVariant& node);

/// `payloadSize` in bytes is the frame size of a camera that tells no largest width and height.
vireo::common::BasicParams basicParams(const NodeMap& nodes, std::uint64_t payloadSize);

}  // namespace vireo::genicam

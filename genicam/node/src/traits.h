// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "node_index.h"
#include "properties.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// What a node says of its access, sign and visibility. A StructReg says it for all of its entries, so it is
/// kept as read: texts may be long, entries many.
struct Traits {
  /// `structure` is what holds where the node itself says nothing.
  Traits(const Properties& said, const NodeIndex& index, const Traits* structure = nullptr);

  /// ImposedAccessMode and AccessMode together; everything where neither is said.
  AccessMode allowed() const;

  std::optional<AccessMode> access;
  std::optional<AccessMode> imposed;
  std::optional<bool> isSigned;
  std::optional<Visibility> visibility;
  std::optional<NodeId> implementedBy;  ///< the nodes that the conditions name
  std::optional<NodeId> availableBy;
  std::optional<NodeId> lockedBy;
};

}  // namespace vireo::genicam

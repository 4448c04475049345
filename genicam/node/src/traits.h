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
  /// `shared` is what holds where the node itself says nothing.
  Traits(const Properties& own, const NodeIndex& index, const Traits* shared = nullptr);

  /// ImposedAccessMode and AccessMode together; everything where neither is said.
  AccessMode allowed() const;

  std::optional<AccessMode> access;
  std::optional<AccessMode> imposed;
  std::optional<bool> isSigned;
  std::optional<Visibility> visibility;
  std::optional<NodeId> isImplemented;  ///< the nodes that the conditions name
  std::optional<NodeId> isAvailable;
  std::optional<NodeId> isLocked;
};

}  // namespace vireo::genicam

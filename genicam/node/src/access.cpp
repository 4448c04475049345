// SPDX-License-Identifier: MIT
#include "access.h"

namespace vireo::genicam {

std::optional<AccessMode> accessMode(std::string_view text) {
  if (text == "RO") return AccessMode::ReadOnly;
  if (text == "WO") return AccessMode::WriteOnly;
  if (text == "RW") return AccessMode::ReadWrite;
  if (text == "NA" || text == "NI") return AccessMode::NotAvailable;
  return std::nullopt;
}

AccessMode narrowed(AccessMode a, AccessMode b) {
  if (a == AccessMode::ReadWrite || a == b) return b;
  if (b == AccessMode::ReadWrite) return a;
  return AccessMode::NotAvailable;
}

}  // namespace vireo::genicam

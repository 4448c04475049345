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

AccessMode imposedAccess(const Properties& properties) {
  const AccessMode said = accessMode(properties.text(Property::AccessMode)).value_or(AccessMode::ReadWrite);
  return narrowed(said,
                  accessMode(properties.text(Property::ImposedAccessMode)).value_or(AccessMode::ReadWrite));
}

AccessMode narrowed(AccessMode a, AccessMode b) {
  if (a == AccessMode::ReadWrite || a == b) return b;
  if (b == AccessMode::ReadWrite) return a;
  return AccessMode::NotAvailable;
}

}  // namespace vireo::genicam

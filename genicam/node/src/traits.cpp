// SPDX-License-Identifier: MIT
#include "traits.h"

#include <string>

#include "access.h"

namespace vireo::genicam {
namespace {

Visibility visibilityOf(const std::string& text) {
  if (text == "Expert") return Visibility::Expert;
  if (text == "Guru") return Visibility::Guru;
  if (text == "Invisible") return Visibility::Invisible;
  return Visibility::Beginner;
}

}  // namespace

Traits::Traits(const Properties& said, const NodeIndex& index, const Traits* structure) {
  const auto take = [&](auto Traits::*field, Property property, const auto& read) {
    if (said.has(property)) {
      this->*field = read(said.text(property));
    } else if (structure != nullptr) {
      this->*field = structure->*field;
    }
  };
  const auto link = [&](const std::string& name) { return index.find(name); };
  take(&Traits::access, Property::AccessMode, accessMode);
  take(&Traits::imposed, Property::ImposedAccessMode, accessMode);
  take(&Traits::isSigned, Property::Sign, [](const std::string& text) { return text == "Signed"; });
  take(&Traits::visibility, Property::Visibility, visibilityOf);
  take(&Traits::implementedBy, Property::PIsImplemented, link);
  take(&Traits::availableBy, Property::PIsAvailable, link);
  take(&Traits::lockedBy, Property::PIsLocked, link);
}

AccessMode Traits::allowed() const {
  return narrowed(access.value_or(AccessMode::ReadWrite), imposed.value_or(AccessMode::ReadWrite));
}

}  // namespace vireo::genicam

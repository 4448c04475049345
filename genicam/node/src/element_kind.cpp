// SPDX-License-Identifier: MIT
#include "element_kind.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "name_table.h"

namespace vireo::genicam {
namespace {

using enum ElementKind;
using Source = ValueSource;

// In the order of the kinds; the last kind has several elements.
constexpr std::array elementRows = {
    ElementFacts{"Integer", Integer, NodeType::Integer, Source::LinkOrLiteral},
    ElementFacts{"IntReg", IntReg, NodeType::Integer, Source::Register},
    ElementFacts{"MaskedIntReg", MaskedIntReg, NodeType::Integer, Source::Register},
    ElementFacts{"StructEntry", StructEntry, NodeType::Integer, Source::Register},
    ElementFacts{"IntConverter", IntConverter, NodeType::Integer, Source::Converter},
    ElementFacts{"IntSwissKnife", IntSwissKnife, NodeType::Integer, Source::SwissKnife},
    ElementFacts{"Float", Float, NodeType::Float, Source::LinkOrLiteral},
    ElementFacts{"FloatReg", FloatReg, NodeType::Float, Source::Register},
    ElementFacts{"Converter", Converter, NodeType::Float, Source::Converter},
    ElementFacts{"SwissKnife", SwissKnife, NodeType::Float, Source::SwissKnife},
    ElementFacts{"Boolean", Boolean, NodeType::Boolean, Source::LinkOrLiteral},
    ElementFacts{"Enumeration", Enumeration, NodeType::Enumeration, Source::LinkOrLiteral},
    ElementFacts{"Command", Command, NodeType::Command, Source::LinkOrLiteral},
    ElementFacts{"Category", Category, NodeType::Category, Source::None},
    ElementFacts{"String", String, NodeType::String, Source::LinkOrLiteral},
    ElementFacts{"StringReg", StringReg, NodeType::String, Source::Register},
    ElementFacts{"Register", Register, std::nullopt, Source::Register},
    ElementFacts{"StructReg", StructReg, std::nullopt, Source::None},
    ElementFacts{"Port", Other, std::nullopt, Source::None},
    ElementFacts{"Node", Other, std::nullopt, Source::None},
    ElementFacts{"AdvFeatureLock", Other, std::nullopt, Source::None},
    ElementFacts{"ConfRom", Other, std::nullopt, Source::None},
    ElementFacts{"IntKey", Other, std::nullopt, Source::None},
    ElementFacts{"SmartFeature", Other, std::nullopt, Source::None},
    ElementFacts{"TextDesc", Other, std::nullopt, Source::None},
};

constexpr bool standsAtItsKind(const ElementFacts& facts) {
  const auto place = static_cast<std::size_t>(&facts - elementRows.data());
  return static_cast<std::size_t>(facts.kind) == std::min(place, static_cast<std::size_t>(Other));
}
static_assert(std::all_of(elementRows.begin(), elementRows.end(), standsAtItsKind));

constexpr NameTable kindsByName([] {
  std::array<std::pair<std::string_view, ElementKind>, elementRows.size()> rows;
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = {elementRows[i].element, elementRows[i].kind};
  return rows;
}());

}  // namespace

const ElementFacts& factsOf(ElementKind kind) {
  return elementRows[static_cast<std::size_t>(kind)];
}

std::optional<ElementKind> elementKind(const char* element) {
  const ElementKind* const kind = kindsByName.find(element);
  return kind == nullptr ? std::nullopt : std::optional(*kind);
}

bool mayHoldNodes(const char* element) {
  return std::strcmp(element, "EnumEntry") != 0 && std::strcmp(element, "Extension") != 0;
}

}  // namespace vireo::genicam

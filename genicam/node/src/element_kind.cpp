// SPDX-License-Identifier: MIT
#include "element_kind.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

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

using PropertyName = std::pair<std::string_view, Property>;

constexpr std::array propertyRows = {
    PropertyName{"AccessMode", Property::AccessMode},
    PropertyName{"Bit", Property::Bit},
    PropertyName{"Constant", Property::Constant},
    PropertyName{"Description", Property::Description},
    PropertyName{"DisplayName", Property::DisplayName},
    PropertyName{"Expression", Property::Expression},
    PropertyName{"Formula", Property::Formula},
    PropertyName{"FormulaFrom", Property::FormulaFrom},
    PropertyName{"ImposedAccessMode", Property::ImposedAccessMode},
    PropertyName{"Inc", Property::Inc},
    PropertyName{"LSB", Property::LSB},
    PropertyName{"Length", Property::Length},
    PropertyName{"MSB", Property::MSB},
    PropertyName{"Max", Property::Max},
    PropertyName{"Min", Property::Min},
    PropertyName{"OnValue", Property::OnValue},
    PropertyName{"Representation", Property::Representation},
    PropertyName{"Sign", Property::Sign},
    PropertyName{"ToolTip", Property::ToolTip},
    PropertyName{"Unit", Property::Unit},
    PropertyName{"Value", Property::Value},
    PropertyName{"ValueDefault", Property::ValueDefault},
    PropertyName{"ValueIndexed", Property::ValueIndexed},
    PropertyName{"Visibility", Property::Visibility},
    PropertyName{"pInc", Property::PInc},
    PropertyName{"pIndex", Property::PIndex},
    PropertyName{"pIsAvailable", Property::PIsAvailable},
    PropertyName{"pIsImplemented", Property::PIsImplemented},
    PropertyName{"pIsLocked", Property::PIsLocked},
    PropertyName{"pMax", Property::PMax},
    PropertyName{"pMin", Property::PMin},
    PropertyName{"pValue", Property::PValue},
    PropertyName{"pValueCopy", Property::PValueCopy},
    PropertyName{"pValueDefault", Property::PValueDefault},
    PropertyName{"pValueIndexed", Property::PValueIndexed},
    PropertyName{"pVariable", Property::PVariable},
};
static_assert(propertyRows.size() == static_cast<std::size_t>(Property::Count));

// All names, each in a slot of its own, which its length and three of its letters tell, or this does not
// compile. So a look-up is one comparison whose outcome alone a processor has to guess: every element of a
// description is looked up.
class NameTable {
 public:
  consteval NameTable() {
    for (const ElementFacts& row : elementRows) add(row.element).kind = row.kind;
    for (const auto& [name, property] : propertyRows) add(name).property = property;
    add("EnumEntry").mayHoldNodes = false;
    add("Extension").mayHoldNodes = false;
  }

  const ElementName& find(const char* name) const {
    static constexpr ElementName unknown;
    const std::size_t size = std::strlen(name);
    if (size == 0 || size > longestName) return unknown;
    const Slot& slot = slots_[slotOf(name, size)];
    return std::memcmp(slot.name.data(), name, size + 1) == 0 ? slot.meaning : unknown;
  }

 private:
  static constexpr std::size_t slotCount = 256;
  static constexpr std::size_t longestName = 19;

  struct Slot {
    std::array<char, longestName + 1> name{};  // filled up with NUL
    ElementName meaning;
  };

  static constexpr std::size_t slotOf(const char* name, std::size_t size) {
    const auto letter = [&](std::size_t i) { return static_cast<unsigned char>(name[i]); };
    return (size * 9 + letter(0) * 33u + letter(size / 2) + letter(size - 1) * 22u) % slotCount;
  }

  consteval ElementName& add(std::string_view name) {
    Slot& slot = slots_[slotOf(name.data(), name.size())];
    if (slot.name[0] != '\0' || name.size() > longestName) throw "two names of one slot, or a name too long";
    std::copy(name.begin(), name.end(), slot.name.begin());
    return slot.meaning;
  }

  std::array<Slot, slotCount> slots_{};
};

constexpr NameTable names;

}  // namespace

const ElementFacts& factsOf(ElementKind kind) {
  return elementRows[static_cast<std::size_t>(kind)];
}

const ElementName& elementNamed(const char* name) {
  return names.find(name);
}

}  // namespace vireo::genicam

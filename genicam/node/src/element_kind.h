// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "properties.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

/// The elements of a description that are nodes.
enum class ElementKind : std::uint8_t {
  Integer,
  IntReg,
  MaskedIntReg,
  StructEntry,
  IntConverter,
  IntSwissKnife,
  Float,
  FloatReg,
  Converter,
  SwissKnife,
  Boolean,
  Enumeration,
  Command,
  Category,
  String,
  StringReg,
  Register,   ///< bytes without a type
  StructReg,  ///< holds entries and has no value itself
  Other,      ///< may have a name but no value: Port, Node and the rest
};

/// Where the value of a node comes from.
enum class ValueSource : std::uint8_t {
  None,
  LinkOrLiteral,
  Register,
  Converter,   ///< a formula in both directions, over the node behind pValue
  SwissKnife,  ///< a formula that can only be read
};

/// Everything that depends on the element alone.
struct ElementFacts {
  std::string_view element;
  ElementKind kind;
  std::optional<NodeType> shownAs;  ///< nothing for an element that no feature can be
  ValueSource source;

  bool isRegister() const { return source == ValueSource::Register; }
  bool isConverter() const { return source == ValueSource::Converter; }
  bool isSwissKnife() const { return source == ValueSource::SwissKnife; }
  bool isFormula() const { return isConverter() || isSwissKnife(); }
  bool isText() const { return shownAs == NodeType::String; }
  bool isFloat() const { return shownAs == NodeType::Float; }
  bool isBoolean() const { return shownAs == NodeType::Boolean; }
  /// Whether its own Value is a number.
  bool hasNumber() const {
    return source == ValueSource::LinkOrLiteral &&
           (shownAs == NodeType::Integer || shownAs == NodeType::Enumeration || isFloat());
  }
  /// Whether another node can have its value from it.
  bool hasValue() const { return shownAs && shownAs != NodeType::Command && shownAs != NodeType::Category; }
};

const ElementFacts& factsOf(ElementKind kind);

/// What the name of an element tells.
struct ElementName {
  std::optional<ElementKind> kind;   ///< nothing for an element that is not a node
  std::optional<Property> property;  ///< nothing for one that says nothing of the node around it
  /// An enumeration's entries have names of their own, an Extension is its maker's business: no nodes in
  /// either.
  bool mayHoldNodes = true;
};

const ElementName& elementNamed(const char* name);

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#include "properties.h"

#include <array>
#include <utility>

#include "name_table.h"

namespace vireo::genicam {
namespace {

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

constexpr NameTable propertiesByName(propertyRows);

}  // namespace

std::optional<Property> propertyNamed(const char* element) {
  const Property* const property = propertiesByName.find(element);
  return property == nullptr ? std::nullopt : std::optional(*property);
}

}  // namespace vireo::genicam

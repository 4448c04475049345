// SPDX-License-Identifier: MIT
#pragma once

#include <pugixml.hpp>
#include <string>

namespace vireo::genicam {

/// Reads a camera description into `document` and returns its RegisterDescription element. The document keeps
/// the only copy of the text. Throws std::runtime_error with position and reason for anything else.
pugi::xml_node readDocument(const std::string& text, pugi::xml_document& document);

/// The text of an element, CDATA and text around comments joined, without white space at its ends. Valid
/// UTF-8 whatever character references the document has, with U+FFFD for what cannot be shown.
std::string textOf(pugi::xml_node element);

}  // namespace vireo::genicam

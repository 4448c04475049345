// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <deque>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace vireo::genicam {

/// A node holds one pointer. pugixml's own test of it is a call into its library; made for every element,
/// those calls take a thirtieth of the time of parsing.
inline bool exists(pugi::xml_node node) {
  return std::bit_cast<const void*>(node) != nullptr;
}

/// A camera description as a tree. What it gives refers to the text that it keeps.
class Document {
 public:
  /// Throws std::runtime_error with position and reason for what is not a camera description.
  explicit Document(const std::string& text);

  pugi::xml_node root() const { return tree_.document_element(); }

  /// The text of an element, CDATA and text around comments joined, without white space at its ends. Valid
  /// UTF-8 whatever character references the document has, with U+FFFD for what cannot be shown.
  std::string_view textOf(pugi::xml_node element);
  /// The same of a text of its own, such as an attribute's.
  std::string_view shown(std::string_view text);

 private:
  void read(const std::string& text);

  pugi::xml_document tree_;
  bool isAllPlain_ = false;         ///< no text of it needs mending
  std::deque<std::string> mended_;  ///< texts that do not stand in the tree as they are given
};

}  // namespace vireo::genicam

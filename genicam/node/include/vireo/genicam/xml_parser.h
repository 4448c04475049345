// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "brio/fnd/export.h"
#include "vireo/genicam/node.h"

namespace vireo::genicam {

class BRIO_EXPORT XmlParser {
 public:
  /// The features of a camera's GenICam description, with the values and bounds that the text alone gives:
  /// what its category Root leads to, else every named node that one of the seven kinds can show. A feature,
  /// a range or an enumeration's entry that cannot be understood is left out, with one debug record of one
  /// line.
  ///
  /// `xml` is the document as the camera serves it: text or a byte-order mark before the XML declaration and
  /// any bytes after the end tag are allowed. It is read as UTF-16 where a byte-order mark says so, as UTF-8
  /// where the bytes are that, whatever encoding the declaration claims, else as Latin-1. Names and texts
  /// come out in UTF-8, with U+FFFD for control characters other than tab, line end and U+007F.
  ///
  /// Throws std::runtime_error with position (the line alone where the text was not UTF-8) and reason for
  /// what is not XML or not a camera description. Time and memory grow with the length of the text, whatever
  /// it says. Any thread, several at once.
  static NodeMap parse(const std::string& xml);
};

}  // namespace vireo::genicam

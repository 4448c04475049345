// SPDX-License-Identifier: MIT
#include "feature_details.h"

namespace vireo::genicam {

FeatureDetails detailsOf(const NodeIndex& index, const Links& links, const LinkedNode& found) {
  FeatureDetails details;
  pugi::xml_node child = index[found.id].element.child("pSelected");
  for (; child; child = child.next_sibling("pSelected")) details.selected.emplace_back(index.textOf(child));
  const NodeId source = links.shown[found.shown].representation.from;
  if (source != noNode) details.representation = index.text(source, Property::Representation);
  return details;
}

}  // namespace vireo::genicam

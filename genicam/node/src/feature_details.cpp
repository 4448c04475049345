// SPDX-License-Identifier: MIT
#include "feature_details.h"

namespace vireo::genicam {

FeatureDetails detailsOf(const NodeIndex& index, const Links& links, Place place) {
  FeatureDetails details;
  pugi::xml_node child = index[links.nodes[place].id].element.child("pSelected");
  for (; exists(child); child = child.next_sibling("pSelected"))
    details.selected.emplace_back(index.textOf(child));
  const NodeId source = links.shown[place].representation.from;
  if (source != noNode) details.representation = index.text(source, Property::Representation);
  return details;
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#include "vireo/genicam/xml_parser.h"

#include "access.h"
#include "bounds.h"
#include "brio/fnd/record.h"
#include "document.h"
#include "feature_details.h"
#include "feature_list.h"
#include "links.h"
#include "node_builder.h"
#include "node_index.h"
#include "resolver.h"
#include "utf8.h"

namespace vireo::genicam {

namespace {

void recordFaults(const NodeIndex& index, const Links& links, Place place) {
  const LinkedNode& node = links.nodes[place];
  const std::string_view name = index[node.id].name;
  if (isDangling(index, node))
    BRIO_LOG_DEBUG("feature '{}' stands alone: pValue '{}' names no node", oneLine(name),
                   oneLine(index.text(node.id, Property::PValue)));
  if (links.shown[place].isContradictory)
    BRIO_LOG_DEBUG("range of feature '{}' is left out: {}", oneLine(name),
                   contradictionText(index, links, place));
}

// Calls `take` for each sound feature with its name in the node map, the index, the links and its place in
// them.
template <typename Take>
NodeMap parseFeatures(const std::string& xml, const Take& take) {
  Document document(xml);
  const NodeIndex index(document);
  const FeatureList list = listFeatures(index);
  Links links(index, list.features);
  resolve(index, links, list);
  NodeMap nodes;
  for (Place place = 0; place < list.features.size(); ++place) {
    const LinkedNode& node = links.nodes[place];
    const std::string_view name = index[node.id].name;
    if (node.offer.fault != Fault::None) {
      BRIO_LOG_DEBUG("feature '{}' is left out: {}", oneLine(name), faultText(index, links, node));
      continue;
    }
    recordFaults(index, links, place);
    const auto added = addNode(nodes, index, links, list, place);
    take(added->first, index, links, place);
  }
  return nodes;
}

}  // namespace

NodeMap XmlParser::parse(const std::string& xml) {
  return parseFeatures(xml, [](const auto&...) {});
}

DetailedFeatures parseWithDetails(const std::string& xml) {
  DetailedFeatures features;
  features.nodes = parseFeatures(xml, [&](const std::string& name, const auto&... found) {
    features.details.emplace_hint(features.details.end(), name, detailsOf(found...));
  });
  return features;
}

}  // namespace vireo::genicam

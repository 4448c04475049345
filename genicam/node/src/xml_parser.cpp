// SPDX-License-Identifier: MIT
#include "vireo/genicam/xml_parser.h"

#include "brio/fnd/log.h"
#include "document.h"
#include "feature_list.h"
#include "node_builder.h"
#include "node_index.h"
#include "resolver.h"
#include "utf8.h"

namespace vireo::genicam {

NodeMap XmlParser::parse(const std::string& xml) {
  pugi::xml_document document;
  const NodeIndex index(readDocument(xml, document));
  const FeatureList list = listFeatures(index);
  Resolver resolver(index);
  // Without a Root every constant is listed like a feature, though hardly anybody means to write it.
  if (list.hasRoot) resolver.markWritable(list.features);
  NodeMap nodes;
  for (const Feature& feature : list.features) {
    const std::string_view name = index[feature.id].name;
    const Resolved& resolved = resolver.resolve(feature.id);
    if (!resolved.fault.empty()) {
      BRIO_LOG_DEBUG("feature '{}' is left out: {}", oneLine(name), resolved.fault);
      continue;
    }
    if (!resolved.boundsFault.empty())
      BRIO_LOG_DEBUG("range of feature '{}' is left out: {}", oneLine(name), resolved.boundsFault);
    nodes.emplace(name, buildNode(index, resolver, feature));
  }
  return nodes;
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
#include "vireo/genicam/xml_parser.h"

#include "brio/fnd/log.h"
#include "document.h"
#include "feature_list.h"
#include "node_builder.h"
#include "node_index.h"
#include "one_line.h"
#include "resolver.h"

namespace vireo::genicam {

NodeMap XmlParser::parse(const std::string& xml) {
  pugi::xml_document document;
  const NodeIndex index(readDocument(xml, document));
  const FeatureList list = listFeatures(index);
  Resolver resolver(index);
  if (list.hasRoot) resolver.markWritable(list.features);
  NodeMap nodes;
  for (const Feature& feature : list.features) {
    const std::string_view name = index[feature.id].name;
    const std::string& fault = resolver.resolve(feature.id).fault;
    if (fault.empty()) {
      nodes.emplace(name, buildNode(index, resolver, feature));
    } else {
      BRIO_LOG_DEBUG("feature '{}' is left out: {}", oneLine(name), fault);
    }
  }
  return nodes;
}

}  // namespace vireo::genicam

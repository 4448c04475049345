// SPDX-License-Identifier: MIT
// The links are followed once, and the nodes sorted once, so that what stands behind a node comes before it.
// Then loops over the nodes find literals, access, bounds and texts, one after the other. Literals have an
// order of their own (literals.cpp), since an index and the variables of a formula come before the node too.
//
// Why that is right: a node has at most one node behind it, so without circles an order exists, and a circle
// of pValue has been cut where the links were sorted. Each loop asks the node behind for what the same loop
// has found already, and any other node (conditions, bounds) only for its literal, which an earlier loop
// found. So one pass a loop is enough, whatever the order of the document.
//
// Only an index may still lead in circles. So access is found in rounds: of the nodes that an index selects,
// a round looks at what they offered in the round before it; in the first one they offer everything. No
// round depends on the order within it. Chains of up to `rounds` indexed values come out exact; a circle of
// them ends at that limit.
#include "resolver.h"

#include <algorithm>

#include "access.h"
#include "bounds.h"
#include "literals.h"

namespace vireo::genicam {
namespace {

constexpr int rounds = 8;  // real descriptions need two

// Whether any node offers something else than the round before.
bool isNew(const Links& links) {
  return std::any_of(links.nodes.begin(), links.nodes.end(),
                     [](const LinkedNode& node) { return node.offer != node.lastOffer; });
}

}  // namespace

void resolve(const NodeIndex& index, Links& links, const FeatureList& list) {
  const auto inOrder = [&](std::size_t end, const auto& find) {
    for (const Place place : links.inOrder) {
      if (place < end) find(links.nodes[place], place);
    }
  };
  // Without a Root every constant is listed like a feature, though hardly anybody means to write it.
  markWritable(index, links, list.hasRoot ? list.features.size() : 0);
  findLiterals(index, links);
  for (int round = 0; round < rounds; ++round) {
    inOrder(links.endOfOffers, [&](LinkedNode& node, Place) { node.offer = offerOf(index, links, node); });
    if (!links.hasIndexed || !isNew(links)) break;
    inOrder(links.endOfOffers, [&](LinkedNode& node, Place) { node.lastOffer = node.offer; });
  }
  inOrder(links.shown.size(), [&](LinkedNode& node, Place place) {
    findBounds(index, links, node, links.shown[place]);
    findTexts(index, links, node, links.shown[place]);
  });
}

}  // namespace vireo::genicam

// SPDX-License-Identifier: MIT
// Any bytes as a camera description: a catalogue that holds together, or std::runtime_error. Nothing else.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "brio/fnd/record.h"
#include "vireo/genicam/feature_details.h"
#include "vireo/genicam/pixel_format.h"

namespace {

using namespace vireo::genicam;

// Takes every record, so that composing them is tried too.
class Discarding : public brio::fnd::Logger {
 public:
  Discarding() { threshold = brio::fnd::loglevel::Debug; }
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
};

void require(bool held) {
  if (!held) std::abort();
}

// The code points of UTF-8 text, decoded here so that the parser's own check is not its judge.
void requireShown(const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto lead = static_cast<unsigned char>(text[at++]);
    const int more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    require(more == 0 || (lead >= 0xC2 && lead < 0xF5));
    std::uint32_t point = more == 0 ? lead : lead & (0x3Fu >> more);
    for (int i = 0; i < more; ++i) {
      require(at < text.size() && (text[at] & 0xC0) == 0x80);
      point = point << 6 | (text[at++] & 0x3F);
    }
    constexpr std::uint32_t least[] = {0, 0x80, 0x800, 0x10000};
    require(point >= least[more] && point < 0x110000 && (point < 0xD800 || point > 0xDFFF));
    require(point >= 0x20 ? point < 0x80 || point > 0x9F : point == '\t' || point == '\n');
  }
}

void requireName(const std::string& name) {
  constexpr const char* blanks = " \t\n\v\f\r";
  require(!name.empty() && std::string(blanks).find(name.front()) == std::string::npos &&
          std::string(blanks).find(name.back()) == std::string::npos);
  requireShown(name);
}

struct Check {
  void operator()(const IntegerNode& node) const {
    require(node.min <= node.max && node.inc >= 1);
    requireShown(node.unit);
  }
  void operator()(const FloatNode& node) const {
    require(node.min <= node.max);
    requireShown(node.unit);
    requireShown(node.representation);
  }
  void operator()(const StringNode& node) const { requireShown(node.value); }
  void operator()(const EnumerationNode& node) const {
    require(node.value.empty() || node.entryValues.contains(node.value));
    require(node.entries.size() == node.entryValues.size());
    for (const std::string& entry : node.entries) {
      requireName(entry);
      require(node.entryValues.contains(entry));
      bytesPerPixel(entry);
    }
  }
  void operator()(const CategoryNode& node) const {
    for (const std::string& feature : node.features) requireShown(feature);
  }
  void operator()(const NodeHeader&) const {}
};

void check(const std::string& name, const NodeVariant& node, const FeatureDetails& details) {
  requireName(name);
  require(nodeToParameter(node).GetName() == name);
  std::visit(
      [](const NodeHeader& header) {
        for (const auto* text : {&header.displayName, &header.toolTip, &header.description, &header.category})
          requireShown(*text);
      },
      node);
  std::visit(Check(), node);
  requireShown(details.representation);
  for (const std::string& selected : details.selected) requireShown(selected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Discarding logger;
  brio::fnd::SetLogger(&logger);
  try {
    const DetailedFeatures features = parseWithDetails(std::string(data, data + size));
    for (const auto& [name, node] : features.nodes) check(name, node, features.details.at(name));
  } catch (const std::runtime_error&) {
  }
  return 0;
}

// SPDX-License-Identifier: MIT
// Any bytes as a camera description: a catalogue that holds together, or std::runtime_error. Nothing else.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "brio/fnd/log.h"
#include "vireo/genicam/pixel_format.h"
#include "vireo/genicam/xml_parser.h"

namespace {

using namespace vireo::genicam;

/// Takes every record, so that composing them is tried too.
class Discarding : public brio::fnd::Logger {
 public:
  Discarding() { threshold = brio::fnd::loglevel::Debug; }
  void Record(std::int32_t, const std::string&) override {}
  void Record(const std::string&) override {}
};

void require(bool held) {
  if (!held) std::abort();
}

void check(const std::string& name, const NodeVariant& node) {
  require(nodeToParameter(node).GetName() == name);
  const auto access = static_cast<std::int32_t>(getAccessMode(node));
  require(access >= 0 && access <= 3);
  if (const auto* const enumeration = std::get_if<EnumerationNode>(&node)) {
    require(enumeration->entries.size() == enumeration->entryValues.size());
    for (const std::string& entry : enumeration->entries) {
      require(enumeration->entryValues.contains(entry));
      require(bytesPerPixel(entry) >= 1);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Discarding logger;
  brio::fnd::SetLogger(&logger);
  try {
    const NodeMap nodes = XmlParser::parse(std::string(data, data + size));
    for (const auto& [name, node] : nodes) check(name, node);
  } catch (const std::runtime_error&) {
  }
  return 0;
}

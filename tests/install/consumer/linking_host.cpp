// SPDX-License-Identifier: MIT
// Links the plug-in's classes and the node library.
#include <iostream>

#include "vireo/genicam/adapter.h"
#include "vireo/genicam/xml_parser.h"

namespace {

class CountingAdapter final : public vireo::genicam::GenICamAdapter {
 public:
  int disconnects = 0;
  void Disconnect() override {
    ++disconnects;
    GenICamAdapter::Disconnect();
  }
};

constexpr const char* description = R"(<RegisterDescription>
  <Category Name="Root"><pFeature>Width</pFeature></Category>
  <Integer Name="Width"><Value>640</Value></Integer>
</RegisterDescription>)";

}  // namespace

int main() {
  const auto nodes = vireo::genicam::XmlParser::parse(description);
  const auto width = vireo::genicam::nodeToParameter(nodes.at("Width"));
  std::cout << "parsed: " << width.GetName() << " = " << width.GetValueAsString() << '\n';

  CountingAdapter adapter;
  static_cast<vireo::common::AdapterBase&>(adapter).Disconnect();
  const vireo::genicam::GObjectGuard<ArvDevice> device(nullptr);
  const vireo::genicam::GErrorGuard error;
  std::cout << "linked: " << adapter.GetProtocol() << ", " << adapter.disconnects << " disconnect, "
            << (device ? "a" : "no") << " device, error '" << error.message() << "'\n";
}

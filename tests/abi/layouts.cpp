// SPDX-License-Identifier: MIT
// Prints the layout of every record that crosses the adapter interface: offset, size and name of each member.
#include <cstddef>
#include <iostream>
#include <variant>

#include "vireo/genicam/adapter.h"

// The records are no standard-layout types; the compilers of this platform define their offsets all the same.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

using namespace vireo::common;
using namespace vireo::genicam;

namespace {

struct Member {
  std::size_t offset;
  std::size_t size;
  const char* name;
};

void print(const char* record, std::size_t size, std::initializer_list<Member> members = {}) {
  std::cout << record << ' ' << size << '\n';
  for (const Member& member : members) {
    std::cout << "  " << member.offset << ' ' << member.size << ' ' << member.name << '\n';
  }
}

// A record's members, of which only the names are written down.
#define MEMBER(member) \
  { offsetof(Record, member), sizeof(Record::member), #member }
#define LAYOUT(record, ...)                        \
  [] {                                             \
    using Record = record;                         \
    print(#record, sizeof(record), {__VA_ARGS__}); \
  }()

struct Interface : AdapterBase {
  static void printLayout() {
    using Record = Interface;
    print("AdapterBase", sizeof(AdapterBase),
          {MEMBER(connectTimeout), MEMBER(cameraAddress), MEMBER(acquisitionStopTime), MEMBER(lastFrameTime),
           MEMBER(acquisitionActive)});
  }
};

void printAlternatives() {
  std::cout << "ParameterValue " << sizeof(ParameterValue) << '\n';
  const ParameterValue values[] = {0, 0.0F, 0.0, std::string(), false};
  const char* const names[] = {"int", "float", "double", "std::string", "bool"};
  for (std::size_t i = 0; i < std::size(values); ++i) {
    std::cout << "  " << names[i] << " is alternative " << values[i].index() << '\n';
  }
}

}  // namespace

int main() {
  LAYOUT(Parameter, MEMBER(name), MEMBER(value), MEMBER(type), MEMBER(metadata));
  LAYOUT(ParameterMetadata, MEMBER(name), MEMBER(min), MEMBER(max), MEMBER(increment), MEMBER(entries),
         MEMBER(unit), MEMBER(description), MEMBER(readable), MEMBER(writable), MEMBER(optionalValue));
  printAlternatives();
  LAYOUT(ReceiveCfg, MEMBER(cameraAddress), MEMBER(connectTimeout));
  LAYOUT(CheckResult, MEMBER(ok), MEMBER(messages));
  LAYOUT(BasicParams, MEMBER(exposureTime), MEMBER(frameRate), MEMBER(width), MEMBER(height), MEMBER(offsetX),
         MEMBER(offsetY), MEMBER(binningHorizontal), MEMBER(binningVertical), MEMBER(maxWidth),
         MEMBER(maxHeight), MEMBER(pixelBytes), MEMBER(frameSize), MEMBER(exposureTimeParam),
         MEMBER(frameRateParam), MEMBER(widthParam), MEMBER(heightParam), MEMBER(offsetXParam),
         MEMBER(offsetYParam), MEMBER(binningHorizontalParam), MEMBER(binningVerticalParam));
  LAYOUT(NativeDocument, MEMBER(content), MEMBER(extension));
  LAYOUT(FrameInfo, MEMBER(offsetX), MEMBER(offsetY), MEMBER(width), MEMBER(height), MEMBER(frameId),
         MEMBER(timestamp), MEMBER(exposureTime), MEMBER(dataType), MEMBER(size));
  LAYOUT(AcquisitionState, MEMBER(mode), MEMBER(framesRemaining), MEMBER(frameRate));
  Interface::printLayout();
  print("GenICamAdapter", sizeof(GenICamAdapter));
  print("GObjectGuard", sizeof(GObjectGuard<ArvDevice>));
  print("GErrorGuard", sizeof(GErrorGuard));
}

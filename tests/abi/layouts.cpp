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

void print(const char* record, std::size_t size, std::initializer_list<Member> members) {
  std::cout << record << ' ' << size << '\n';
  for (const Member& member : members) {
    std::cout << "  " << member.offset << ' ' << member.size << ' ' << member.name << '\n';
  }
}

#define MEMBER(member)                                        \
  Member {                                                    \
    offsetof(Record, member), sizeof(Record::member), #member \
  }

struct Interface : AdapterBase {
  static void printLayout() {
    using Record = Interface;
    print("AdapterBase", sizeof(AdapterBase),
          {MEMBER(connectTimeout), MEMBER(cameraAddress), MEMBER(acquisitionStopTime), MEMBER(lastFrameTime),
           MEMBER(acquisitionActive)});
  }
};

void printParameters() {
  {
    using Record = Parameter;
    print("Parameter", sizeof(Record), {MEMBER(name), MEMBER(value), MEMBER(type), MEMBER(metadata)});
  }
  {
    using Record = ParameterMetadata;
    print("ParameterMetadata", sizeof(Record),
          {MEMBER(name), MEMBER(min), MEMBER(max), MEMBER(increment), MEMBER(entries), MEMBER(unit),
           MEMBER(description), MEMBER(readable), MEMBER(writable), MEMBER(optionalValue)});
  }
  std::cout << "ParameterValue " << sizeof(ParameterValue) << '\n';
  const ParameterValue values[] = {0, 0.0F, 0.0, std::string(), false};
  const char* const names[] = {"int", "float", "double", "std::string", "bool"};
  for (std::size_t i = 0; i < std::size(values); ++i) {
    std::cout << "  " << names[i] << " is alternative " << values[i].index() << '\n';
  }
}

void printReports() {
  {
    using Record = ReceiveCfg;
    print("ReceiveCfg", sizeof(Record), {MEMBER(cameraAddress), MEMBER(connectTimeout)});
  }
  {
    using Record = CheckResult;
    print("CheckResult", sizeof(Record), {MEMBER(ok), MEMBER(messages)});
  }
  {
    using Record = BasicParams;
    print("BasicParams", sizeof(Record),
          {MEMBER(exposureTime),
           MEMBER(frameRate),
           MEMBER(width),
           MEMBER(height),
           MEMBER(offsetX),
           MEMBER(offsetY),
           MEMBER(binningHorizontal),
           MEMBER(binningVertical),
           MEMBER(maxWidth),
           MEMBER(maxHeight),
           MEMBER(pixelBytes),
           MEMBER(frameSize),
           MEMBER(exposureTimeParam),
           MEMBER(frameRateParam),
           MEMBER(widthParam),
           MEMBER(heightParam),
           MEMBER(offsetXParam),
           MEMBER(offsetYParam),
           MEMBER(binningHorizontalParam),
           MEMBER(binningVerticalParam)});
  }
  {
    using Record = NativeDocument;
    print("NativeDocument", sizeof(Record), {MEMBER(content), MEMBER(extension)});
  }
  {
    using Record = FrameInfo;
    print("FrameInfo", sizeof(Record),
          {MEMBER(offsetX), MEMBER(offsetY), MEMBER(width), MEMBER(height), MEMBER(frameId),
           MEMBER(timestamp), MEMBER(exposureTime), MEMBER(dataType), MEMBER(size)});
  }
  {
    using Record = AcquisitionState;
    print("AcquisitionState", sizeof(Record), {MEMBER(mode), MEMBER(framesRemaining), MEMBER(frameRate)});
  }
}

}  // namespace

int main() {
  printParameters();
  printReports();
  Interface::printLayout();
  print("GenICamAdapter", sizeof(GenICamAdapter), {});
  print("GObjectGuard", sizeof(GObjectGuard<ArvDevice>), {});
  print("GErrorGuard", sizeof(GErrorGuard), {});
}

// SPDX-License-Identifier: MIT
// Our parser beside the tree that Aravis builds of the same text and beside pugixml's own reading of it, on
// the real descriptions, the five largest also doubled; and our parser alone on hostile ones. heap/text: the
// most heap that one call held, for each byte of text.
#include <arv.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <regex>
#include <sstream>
#include <vector>

#include "counted_memory.h"
#include "hostile_descriptions.h"
#include "vireo/genicam/xml_parser.h"

namespace {

namespace fs = std::filesystem;

void parse(const std::string& text) {
  try {
    benchmark::DoNotOptimize(vireo::genicam::XmlParser::parse(text));
  } catch (const std::runtime_error&) {
    // some hostile texts are no descriptions
  }
}

void buildTree(const std::string& text) {
  ArvGc* const tree = arv_gc_new(nullptr, text.data(), text.size());
  if (tree != nullptr) g_object_unref(tree);
}

void measure(benchmark::State& state, const std::string& text, void (*read)(const std::string&)) {
  for (auto _ : state) read(text);
  const auto size = static_cast<double>(text.size());
  state.counters["heap/text"] = static_cast<double>(heapPeakOf([&] { read(text); })) / size;
  state.counters["text"] =
      benchmark::Counter(size, benchmark::Counter::kDefaults, benchmark::Counter::kIs1024);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
}

std::string contents(const fs::path& path) {
  std::stringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void loadTree(const std::string& text) {
  pugi::xml_document document;
  benchmark::DoNotOptimize(document.load_buffer(text.data(), text.size()));
}

std::vector<fs::path> largestFirst() {
  std::vector<fs::path> files;
  if (!fs::is_directory(VIREO_CAMERA_DESCRIPTIONS)) return files;
  for (const auto& file : fs::directory_iterator(VIREO_CAMERA_DESCRIPTIONS)) files.push_back(file.path());
  const auto larger = [](const fs::path& a, const fs::path& b) {
    return fs::file_size(a) > fs::file_size(b);
  };
  std::sort(files.begin(), files.end(), larger);
  return files;
}

// The document twice over, the second time under other names, which the first Root leads to as well.
std::string doubled(std::string text) {
  const std::size_t root = text.find('>', text.find("Name=\"Root\"")) + 1;
  text.insert(root, "<pFeature>SecondRoot</pFeature>");
  const std::size_t begin = text.find('>', text.find("<RegisterDescription")) + 1;
  const std::size_t end = text.rfind("</RegisterDescription");
  static const std::regex names("(Name=\"|<p[A-Z][A-Za-z]*( [^>]*)?>\\s*)");
  const std::string second = std::regex_replace(text.substr(begin, end - begin), names, "$1Second");
  return text.substr(0, end) + second + text.substr(end);
}

benchmark::internal::Benchmark* add(const std::string& name, const std::string& text,
                                    void (*read)(const std::string&)) {
  const auto run = [=](benchmark::State& state) { measure(state, text, read); };
  return benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int count, char** arguments) {
  constexpr int doubledFiles = 5;
  int place = 0;
  for (const fs::path& path : largestFirst()) {
    std::string text = contents(path);
    text.erase(0, std::min(text.find("<?xml"), text.find("<RegisterDescription")));  // Aravis wants it first
    add("parse/" + path.stem().string(), text, parse);
    add("arv_gc_new/" + path.stem().string(), text, buildTree);
    add("load_buffer/" + path.stem().string(), text, loadTree);
    if (place++ < doubledFiles) add("parse_doubled/" + path.stem().string(), doubled(text), parse);
  }
  for (const HostileDescription& hostile : hostileDescriptions) {
    add(std::string("hostile/") + hostile.name + "/100000", hostile.text(100'000), parse)->MinTime(0.1);
    add(std::string("hostile/") + hostile.name + "/200000", hostile.text(200'000), parse)->MinTime(0.1);
  }
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

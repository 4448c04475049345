// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>

#include <functional>
#include <string>
#include <vector>

/// A description made to hurt a parser; `count` sets its length.
struct HostileDescription {
  const char* name;
  std::function<std::string(int count)> text;
};

namespace hostile {

inline std::string repeated(int count, const std::function<std::string(int)>& part) {
  std::string text;
  for (int i = 0; i < count; ++i) text += part(i);
  return text;
}

inline std::string description(const std::string& nodes) {
  return "<RegisterDescription>" + nodes + "</RegisterDescription>";
}

inline std::string root(const std::string& feature) {
  return "<Category Name=\"Root\"><pFeature>" + feature + "</pFeature></Category>";
}

inline std::string chain(int count, const char* link) {
  return root("N0") + repeated(count, [&](int i) {
           return fmt::format("<Integer Name=\"N{}\"><{}>N{}</{}></Integer>", i, link, i + 1, link);
         });
}

inline std::string everyFeatureLinksTo(int count, const std::string& target) {
  return target + repeated(count, [](int i) {
           return fmt::format("<Integer Name=\"N{}\"><pValue>T</pValue></Integer>", i);
         });
}

}  // namespace hostile

inline const std::vector<HostileDescription>& hostileDescriptions() {
  using namespace hostile;
  static const std::vector<HostileDescription> all = {
      {"nesting",
       [](int n) {
         return description(repeated(n, [](int) { return "<Group>"; }) +
                            repeated(n, [](int) { return "</Group>"; }));
       }},
      {"nested_nodes",
       [](int n) {
         return description(repeated(n, [](int i) { return fmt::format("<IntReg Name=\"N{}\">", i); }) +
                            repeated(n, [](int) { return "</IntReg>"; }));
       }},
      {"pvalue_chain",
       [](int n) { return description(chain(n, "pValue") + fmt::format("<Integer Name=\"N{}\"/>", n)); }},
      {"pvalue_circle",
       [](int n) {
         return description(chain(n, "pValue") +
                            fmt::format("<Integer Name=\"N{}\"><pValue>N0</pValue></Integer>", n));
       }},
      {"condition_chain", [](int n) { return description(chain(n, "pIsAvailable")); }},
      {"category_chain",
       [](int n) {
         return description(
             root("N0") + repeated(n, [](int i) {
               return fmt::format(
                   "<Category Name=\"N{}\"><pFeature>N{}</pFeature><pFeature>Root</pFeature></Category>", i,
                   i + 1);
             }));
       }},
      {"entries",
       [](int n) {
         return description(root("E") + "<Enumeration Name=\"E\">" +
                            repeated(n,
                                     [](int i) {
                                       return fmt::format(
                                           "<EnumEntry Name=\"E{}\"><Value>{}</Value></EnumEntry>", i, i);
                                     }) +
                            "</Enumeration>");
       }},
      {"struct_entries",
       [](int n) {
         return description("<StructReg><Length>4</Length>" +
                            repeated(n,
                                     [](int i) {
                                       return fmt::format(
                                           "<StructEntry Name=\"E{}\"><Bit>1</Bit></StructEntry>", i);
                                     }) +
                            "</StructReg>");
       }},
      {"indexed_values",
       [](int n) {
         return description(
             root("I") + "<IntReg Name=\"R\"/><Integer Name=\"I\"><pIndex>R</pIndex>" +
             repeated(n,
                      [](int i) { return fmt::format("<pValueIndexed Index=\"{}\">R</pValueIndexed>", i); }) +
             "</Integer>");
       }},
      {"one_name",
       [](int n) {
         return description(repeated(n, [](int) { return "<Float Name=\"N\"><pValue>N</pValue></Float>"; }));
       }},
      {"shared_unit",
       [](int n) {
         return description(everyFeatureLinksTo(n, "<Float Name=\"T\"><Unit>" +
                                                       std::string(static_cast<std::size_t>(n) * 20, 'u') +
                                                       "</Unit></Float>"));
       }},
      {"long_number",
       [](int n) {
         return description(root("N") + "<Integer Name=\"N\"><Max>" +
                            std::string(static_cast<std::size_t>(n) * 10, '9') + "</Max></Integer>");
       }},
      {"attributes",
       [](int n) {
         return description("<Integer " + repeated(n, [](int i) { return fmt::format("a{}=\"&lt;\" ", i); }) +
                            "/>");
       }},
      {"comments",
       [](int n) {
         return description(root("S") + "<String Name=\"S\"><Value>" +
                            repeated(n, [](int) { return "a<!-- -->"; }) + "</Value></String>");
       }},
      {"entity_bomb",
       [](int n) {
         return "<!DOCTYPE x [<!ENTITY a0 \"ha\">" +
                repeated(n, [](int i) { return fmt::format("<!ENTITY a{} \"&a{};&a{};\">", i + 1, i, i); }) +
                "]>" +
                description(root("S") + fmt::format("<String Name=\"S\"><Value>&a{};</Value></String>", n));
       }},
      {"smallest_elements", [](int n) { return description(repeated(n, [](int) { return "<a/>"; })); }},
      {"unclosed", [](int n) { return description(repeated(n, [](int) { return "<Group>"; })); }},
      {"no_markup", [](int n) { return repeated(n, [](int) { return "< < 1 "; }); }},
  };
  return all;
}

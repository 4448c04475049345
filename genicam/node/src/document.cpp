// SPDX-License-Identifier: MIT
#include "document.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "number.h"
#include "utf8.h"

namespace vireo::genicam {
namespace {

constexpr const char* rootElement = "RegisterDescription";
constexpr std::string_view prefixedRoot = ":RegisterDescription";
constexpr std::string_view openingTag = "<RegisterDescription";
constexpr std::string_view closingTag = "</RegisterDescription";

// Entities other than the five of XML itself are left as they stand, so that none can grow.
constexpr unsigned parseOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                  pugi::parse_wconv_attribute | pugi::parse_embed_pcdata;

[[noreturn]] void fail(const std::string& reason) {
  throw std::runtime_error("camera description: " + reason);
}

bool startsMarkup(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return c == '?' || c == '!' || c == '_' || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

bool hasWideByteOrderMark(std::string_view text) {
  using namespace std::string_view_literals;
  return text.starts_with("\xFF\xFE"sv) || text.starts_with("\xFE\xFF"sv) ||
         text.starts_with("\0\0\xFE\xFF"sv);
}

// Where the first markup begins that is wanted and stands in no comment.
template <typename Wanted>
std::size_t findMarkup(std::string_view text, const Wanted& isWanted) {
  bool commentsEnd = true;
  std::size_t at = text.find('<');
  while (at != std::string_view::npos) {
    const std::string_view rest = text.substr(at);
    if (isWanted(rest)) break;
    const bool comment = commentsEnd && rest.starts_with("<!--");
    const std::size_t end = comment ? text.find("-->", at) : at;
    commentsEnd = end != std::string_view::npos;
    at = text.find('<', commentsEnd ? end + 1 : at + 1);
  }
  return at;
}

bool startsDescription(std::string_view text) {
  return text.starts_with("<?xml") || text.starts_with(openingTag);
}

bool endsDescription(std::string_view text) {
  return text.starts_with(closingTag);
}

void refuseArchive(std::string_view text) {
  const auto refuse = [&](std::string_view magic, const char* kind) {
    if (text.starts_with(magic)) fail(fmt::format("not XML but {}: unpack it first", kind));
  };
  refuse("PK\x03\x04", "a ZIP archive");
  refuse("\x1F\x8B", "a gzip file");
}

// Some cameras put text, a comment or a byte-order mark before the XML declaration, some have no declaration.
std::size_t startOfMarkup(std::string_view text) {
  if (hasWideByteOrderMark(text)) return 0;
  if (const std::size_t start = findMarkup(text, startsDescription); start != std::string_view::npos)
    return start;
  for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    if (at + 1 < text.size() && startsMarkup(text[at + 1])) return at;
  }
  fail(fmt::format("not XML: no markup in {} bytes", text.size()));
}

// Erased flash or a checksum after the last tag does not belong to the text; the beginning of a tag does.
std::string_view upToLastTag(std::string_view text) {
  const std::size_t end = text.find_last_of("<>");
  return end == std::string_view::npos || text[end] == '<' ? text : text.substr(0, end + 1);
}

// What follows the end tag may look like markup: the rest of a longer description that was there before.
std::string_view upToEndTag(std::string_view text) {
  const std::size_t end = text.find('>', findMarkup(text, endsDescription));
  return end == std::string_view::npos ? text : text.substr(0, end + 1);
}

// The bytes decide, not the declaration: cameras that claim UTF-8 and send the degree sign as one byte mean
// Latin-1, where every byte is a character, and what is UTF-8 by accident makes no sense.
pugi::xml_encoding encodingOf(std::string_view text, bool isPlain) {
  if (hasWideByteOrderMark(text)) return pugi::encoding_auto;
  return isPlain || isUtf8(text) ? pugi::encoding_utf8 : pugi::encoding_latin1;
}

std::size_t linesIn(std::string_view text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

std::string position(std::string_view text, std::size_t offset) {
  return fmt::format("line {} (byte {})", 1 + linesIn(text.substr(0, offset)), offset);
}

std::size_t bytesPerUnit(pugi::xml_encoding encoding) {
  if (encoding == pugi::encoding_latin1) return 1;
  return encoding == pugi::encoding_utf16_le || encoding == pugi::encoding_utf16_be ? 2 : 4;
}

std::size_t sizeInUtf8(std::uint32_t unit) {
  const bool halfOfFour = unit >= 0xD800 && unit < 0xE000;
  if (unit < 0x80) return 1;
  if (unit < 0x800 || halfOfFour) return 2;
  return unit < 0x10000 ? 3 : 4;
}

// The line ends before an offset that counts bytes of UTF-8, in a text of another encoding.
std::size_t convertedLinesIn(std::string_view text, std::size_t offset, pugi::xml_encoding encoding) {
  const bool littleEndian = encoding == pugi::encoding_utf16_le || encoding == pugi::encoding_utf32_le;
  const std::size_t width = bytesPerUnit(encoding);
  std::size_t lines = 0;
  for (std::size_t at = 0, converted = 0; converted < offset && at + width <= text.size(); at += width) {
    std::uint32_t unit = 0;
    for (std::size_t i = 0; i < width; ++i) {
      const std::size_t place = littleEndian ? width - 1 - i : i;
      unit = unit << 8 | static_cast<unsigned char>(text[at + place]);
    }
    converted += sizeInUtf8(unit);
    lines += unit == '\n' ? 1 : 0;
  }
  return lines;
}

// A description whose markup begins at `start`, and how its bytes were read.
struct MarkupText {
  std::string_view text;
  std::size_t start;
  pugi::xml_encoding encoding;

  bool isConverted() const { return encoding != pugi::encoding_utf8; }
  // Where the parser stopped; it counts bytes of what it converted, so only the line is known then.
  std::string place(std::size_t offset) const {
    if (!isConverted()) return position(text, std::min(start + offset, text.size()));
    return fmt::format("line {}", 1 + linesIn(text.substr(0, start)) +
                                      convertedLinesIn(text.substr(start), offset, encoding));
  }
};

[[noreturn]] void failAt(const MarkupText& source, std::size_t offset, const char* reason) {
  const std::size_t end = source.text.find_last_not_of('\0') + 1;
  const std::size_t nul = source.text.substr(0, end).find('\0', source.start);
  if (nul <= source.start + offset && !hasWideByteOrderMark(source.text))
    fail(fmt::format("NUL byte at {}", position(source.text, nul)));
  const MarkupText whole = {source.text.substr(0, end), source.start, source.encoding};
  fail(fmt::format("not well-formed XML at {}: {}", whole.place(offset), reason));
}

// The prefix of the outermost element's namespace with its colon, as in <g:RegisterDescription; mostly empty.
std::string_view namespacePrefix(std::string_view text) {
  const auto startsPlainRoot = [](std::string_view rest) { return rest.starts_with(openingTag); };
  const std::size_t end = text.substr(0, findMarkup(text, startsPlainRoot)).find(prefixedRoot);
  const std::size_t tag = end == std::string_view::npos ? end : text.rfind('<', end);
  if (tag == std::string_view::npos) return {};
  const std::string_view prefix = text.substr(tag + 1, end - tag);
  return prefix.find_first_of("/!? \t\r\n\"'>") == std::string_view::npos ? prefix : std::string_view();
}

// Blanks take the place of the prefix before each tag that has it, so that positions stay.
std::string withoutPrefix(std::string text, const std::string& prefix) {
  for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
    const std::size_t name = at + (text.compare(at, 2, "</") == 0 ? 2 : 1);
    if (text.compare(name, prefix.size(), prefix) != 0) continue;
    std::rotate(text.begin() + static_cast<std::ptrdiff_t>(at),
                text.begin() + static_cast<std::ptrdiff_t>(name),
                text.begin() + static_cast<std::ptrdiff_t>(name + prefix.size()));
    std::fill_n(text.begin() + static_cast<std::ptrdiff_t>(at), prefix.size(), ' ');
    at += prefix.size();
  }
  return text;
}

}  // namespace

Document::Document(const std::string& text) {
  const std::string_view prefix = namespacePrefix(text);
  if (prefix.empty()) {
    read(text);
  } else {
    read(withoutPrefix(text, std::string(prefix)));
  }
}

void Document::read(const std::string& text) {
  if (text.find_first_not_of(std::string_view("\0 \t\r\n", 5)) == std::string::npos) fail("empty");
  refuseArchive(text);
  const std::size_t start = startOfMarkup(text);
  const std::string_view markup = std::string_view(text).substr(start);
  const bool wide = hasWideByteOrderMark(markup);
  const std::string_view tags = wide ? markup : upToLastTag(markup);
  const bool isPlain = isPlainMarkup(tags);
  const auto load = [&](std::string_view part) {
    return tree_.load_buffer(part.data(), part.size(), parseOptions, encodingOf(part, isPlain));
  };
  pugi::xml_parse_result result = load(tags);
  if (!result && !wide && upToEndTag(tags).size() < tags.size()) result = load(upToEndTag(tags));
  const MarkupText source = {text, start, result.encoding};
  // A character reference can stand for anything.
  isAllPlain_ = isPlain && tags.find("&#") == std::string_view::npos;
  if (!result) failAt(source, static_cast<std::size_t>(result.offset), result.description());
  if (std::strcmp(root().name(), rootElement) != 0) {
    fail(fmt::format("the root element at {} is '{}', expected '{}'",
                     source.place(static_cast<std::size_t>(root().offset_debug())), oneLine(root().name()),
                     rootElement));
  }
}

std::string_view Document::textOf(pugi::xml_node element) {
  const std::string_view first = element.value();  // the first text is kept in the element itself
  pugi::xml_node child = element.first_child();
  if (!exists(child)) return shown(first);
  std::string joined(first);
  for (; exists(child); child = child.next_sibling()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) joined += child.value();
  }
  return mended_.emplace_back(plain(trimmed(joined)));
}

std::string_view Document::shown(std::string_view text) {
  const std::string_view inner = trimmed(text);
  return isAllPlain_ || isPlain(inner) ? inner : std::string_view(mended_.emplace_back(plain(inner)));
}

}  // namespace vireo::genicam

#include "qiv/xml.h"

#include "xml/escape_xml.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <libxml++/document.h>
#include <libxml++/nodes/element.h>
#include <string_view>

namespace Qiv {

namespace {

/// Where the bits of a byte in memory lie in a word.
constexpr std::size_t shiftOf(std::size_t byte) {
  return 8 * (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? byte : 7 - byte);
}

/// A text of up to seven characters as it lies in memory, its length in the last byte.
constexpr std::uint64_t packed(std::string_view text) {
  std::uint64_t word = std::uint64_t{text.size()} << shiftOf(7);
  for (std::size_t i = 0; i < text.size(); ++i)
    word |= std::uint64_t{static_cast<unsigned char>(text[i])} << shiftOf(i);
  return word;
}

/// What is written for each byte.
constexpr std::array<std::uint64_t, 256> makeTable() {
  std::array<std::uint64_t, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const char c = static_cast<char>(byte);
    table[byte] = packed({&c, 1});
  }
  table['&'] = packed("&amp;");
  table['<'] = packed("&lt;");
  table['>'] = packed("&gt;");
  table['"'] = packed("&quot;");
  table['\''] = packed("&apos;");
  return table;
}

constexpr std::array<std::uint64_t, 256> table = makeTable();

std::uint64_t inEachByte(std::uint64_t byte) {
  return byte * 0x0101010101010101;
}

/// Not zero when a byte is zero.
std::uint64_t zeroBytes(std::uint64_t word) {
  return (word - inEachByte(1)) & ~word & inEachByte(0x80);
}

bool hasMarkup(std::uint64_t word) {
  // & and ' differ in one bit, < and > in another.
  return (zeroBytes((word & inEachByte(0xFE)) ^ inEachByte('&')) |
          zeroBytes((word & inEachByte(0xFD)) ^ inEachByte('<')) |
          zeroBytes(word ^ inEachByte('"'))) != 0;
}

/// The start of the first markup character, or the end.
const char* findMarkup(const char* text, const char* end) {
  for (const char c : {'&', '<', '>', '"', '\''})
    if (const void* found = std::memchr(text, c, static_cast<std::size_t>(end - text)))
      end = static_cast<const char*>(found);
  return end;
}

char* escapeBytes(const char* text, const char* end, char* out) {
#pragma GCC unroll 8 // which only -O3 does by itself
  for (; text != end; ++text) {
    const std::uint64_t written = table[static_cast<unsigned char>(*text)];
    std::memcpy(out, &written, sizeof written);
    out += written >> shiftOf(7) & 0xFF;
  }
  return out;
}

/// Returns where `out` ends; what lies in the seven bytes behind may change.
char* escape(const char* text, const char* end, char* out) {
  for (; end - text >= 8; text += 8) {
    std::uint64_t word;
    std::memcpy(&word, text, 8);
    if (hasMarkup(word)) {
      out = escapeBytes(text, text + 8, out);
    } else {
      std::memcpy(out, &word, 8);
      out += 8;
    }
  }
  return escapeBytes(text, end, out);
}

} // namespace

void internal::appendEscapedXml(std::string& out, const std::string& text) {
  const char* const end = text.data() + text.size();
  const char* start = findMarkup(text.data(), end);
  out.append(text.data(), start);
  constexpr std::ptrdiff_t step = 512;
  char block[6 * step + 7];
  for (const char* stop; start != end; start = stop) {
    stop = start + std::min(step, end - start);
    out.append(block, escape(start, stop, block));
  }
}

std::string XmlHelper::escapeXml(const std::string& text) {
  std::string escaped;
  escaped.reserve(text.size());
  internal::appendEscapedXml(escaped, text);
  return escaped;
}

std::string XmlHelper::_removeXmlDeclaration(const std::string& xml) {
  constexpr const char* blanks = " \t\n\r";
  const std::size_t declaration = xml.find("?>");
  const std::size_t start =
      xml.find_first_not_of(blanks, declaration == std::string::npos ? 0 : declaration + 2);
  if (start == std::string::npos)
    return {};
  return xml.substr(start, xml.find_last_not_of(blanks) + 1 - start);
}

std::string XmlHelper::writeToString(const xmlpp::Element* element) {
  xmlpp::Document document("1.0");
  document.create_root_node_by_import(element, true);
  return _removeXmlDeclaration(document.write_to_string_formatted(""));
}

std::string XmlHelper::writeRootChildElementToString(xmlpp::Document& document) {
  const std::string xml = _removeXmlDeclaration(document.write_to_string_formatted(""));
  const std::size_t start = xml.find('>') + 1;
  const std::size_t end = std::max(xml.rfind('<'), start);
  return xml.substr(start, end - start);
}

void XmlHelper::writeToOutput(xmlpp::Element* element) {
  xmlpp::Document document("1.0");
  document.create_root_node_by_import(element, true);
  try {
    document.write_to_stream_formatted(std::cout, "");
  } catch (const std::exception& exception) {
    std::cerr << exception.what() << "\n";
  }
}

} // namespace Qiv

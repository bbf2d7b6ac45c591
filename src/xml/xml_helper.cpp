#include "qiv/xml.h"

#include <iostream>
#include <libxml++/document.h>
#include <libxml++/nodes/element.h>

namespace Qiv {

namespace {

/// The entity of a markup character, null for any other.
const char* entity(char c) {
  switch (c) {
  case '&':
    return "&amp;";
  case '<':
    return "&lt;";
  case '>':
    return "&gt;";
  case '"':
    return "&quot;";
  case '\'':
    return "&apos;";
  default:
    return nullptr;
  }
}

} // namespace

std::string XmlHelper::escapeXml(const std::string& text) {
  std::string escaped;
  escaped.reserve(text.size());
  std::size_t plain = 0; // start of the stretch that is copied as it stands
  for (std::size_t i = 0; i < text.size(); ++i)
    if (const char* replacement = entity(text[i])) {
      escaped.append(text, plain, i - plain).append(replacement);
      plain = i + 1;
    }
  return escaped.append(text, plain, std::string::npos);
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

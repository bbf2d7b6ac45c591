#ifndef QIV_XML_H
#define QIV_XML_H

/// XML texts.
///
///     log << "<p>" << Qiv::XmlHelper::escapeXml(message) << "</p>";
///     std::string saved = Qiv::XmlHelper::writeToString(document.get_root_node());
///
/// The functions keep no state and may be called from any thread, each document from one at a time.

#include "qiv/export.h"

#include <string>

namespace xmlpp {
class Document;
class Element;
} // namespace xmlpp

namespace Qiv {

class QIV_API XmlHelper {
public:
  /// `text` with & < > " ' as entities, for XML and HTML. All other bytes stay as they are;
  /// existing entities are escaped again.
  static std::string escapeXml(const std::string& text);

  /// The text behind the first "?>", wherever that stands, without blanks at both ends.
  static std::string _removeXmlDeclaration(const std::string& xml);

  /// The element with its subtree, formatted, UTF-8, without declaration. libxml++'s exceptions
  /// pass through; a null element gives the empty string.
  static std::string writeToString(const xmlpp::Element* element);

  /// What stands between the root element's tags, formatted, line feeds and indentation included.
  /// Empty for a root without content. libxml++'s exceptions pass through.
  static std::string writeRootChildElementToString(xmlpp::Document& document);

  /// Prints the element as a formatted document, with declaration, to std::cout. A std::exception
  /// while writing is printed to std::cerr.
  static void writeToOutput(xmlpp::Element* element);
};

} // namespace Qiv

#endif

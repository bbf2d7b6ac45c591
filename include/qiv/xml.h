#ifndef QIV_XML_H
#define QIV_XML_H

/// XML texts.
///
///     log << "<p>" << Qiv::XmlHelper::escapeXml(message) << "</p>";
///     std::string saved = Qiv::XmlHelper::writeToString(document.get_root_node());
///
/// The functions keep no state and may be called from any thread, each document from one at a time.

#include "qiv/export.h"

#include <map>
#include <string>

namespace xmlpp {
class Document;
class Element;
} // namespace xmlpp

namespace Qiv {

/// XML to text and text for XML. Each element and document belongs to one thread at a time.
class QIV_API XmlHelper {
public:
  /// `text` with the five characters `& < > " '` as entities, for XML and HTML. All other bytes
  /// stay as they are; existing entities are escaped again.
  static std::string escapeXml(const std::string& text);

  /// The text behind the first `?>`, wherever that stands, without blanks at both ends.
  static std::string _removeXmlDeclaration(const std::string& xml);

  /// The element with its subtree, formatted, UTF-8, without declaration. libxml++'s exceptions
  /// pass through; a null element gives the empty string.
  static std::string writeToString(const xmlpp::Element* element);

  /// The formatted document from its first `>` to its last `<`: the root's content with line feeds
  /// and indentation, empty for a root without content. A document type, comment or instruction
  /// before the root brings the root's start tag along. libxml++'s exceptions pass through.
  static std::string writeRootChildElementToString(xmlpp::Document& document);

  /// Prints the element as a formatted document, with declaration, to std::cout. A std::exception
  /// while writing is printed to std::cerr.
  static void writeToOutput(xmlpp::Element* element);
};

// ---------------------------------------------------------------------------------------------
// XSLT
// ---------------------------------------------------------------------------------------------

/// Applies an XSLT 1.0 stylesheet file to an XML file. A stylesheet is a program that may read and
/// write any file of the user: apply none that you do not trust. XML input alone is safe.
///
///     const int status = Qiv::XslTransformer("in.xml", "page.xsl", "page.html").transform();
///
/// Parameters have no effect: setParams stores them, and transform() leaves each stylesheet
/// parameter at its default.
///
/// File names and parameters are not copied: they must live as long as the object uses them. A
/// copy of the object refers to the same texts.
///
/// The destructor releases the process-wide state of libxslt and libxml2. Both come back to life
/// when they are used again, and documents that exist stay good, but no other thread may parse or
/// transform meanwhile, whether through this class or libxml++. Outside the main thread it costs
/// 1 kB of libxml2's memory for each thread, so prefer that one.
class QIV_API XslTransformer {
public:
  /// Names no files.
  XslTransformer() = default;
  /// Names the files; nothing is opened before transform().
  XslTransformer(const char* xmlFile, const char* xslFile, const char* outFile);
  /// Names the same files and parameters.
  /// @{
  XslTransformer(const XslTransformer&) = default;
  XslTransformer& operator=(const XslTransformer&) = default;
  /// @}
  ~XslTransformer();

  /// What setParams was given last.
  const std::map<const char*, const char*>& getParams() const { return params; }

  /// Name other files for the next transform().
  /// @{
  void setInFiles(const char* xmlFile, const char* xslFile);
  void setOutFile(const char* outFile);
  /// @}

  /// Replaces the stored parameters. Keys are compared by pointer, not by text.
  void setParams(const std::map<const char*, const char*>& params);
  /// Forgets the parameters.
  void clearParams();

  /// Replaces the output file, in the method and encoding that the stylesheet asks for. It is
  /// opened when all else has been read, so it may be the input or the stylesheet. Returns 0, or
  /// EOF when the output could not be opened or written. Input or stylesheet that is missing,
  /// malformed or beyond libxml2's limits (such as a text node of 10 MB) gives an EMPTY file and
  /// 0, and so does a stylesheet that ends itself; standard error tells why. Throws
  /// std::logic_error when the output name is null.
  int transform();

private:
  const char* xmlFile = nullptr;
  const char* xslFile = nullptr;
  const char* outFile = nullptr;
  std::map<const char*, const char*> params;
};

} // namespace Qiv

#endif

#ifndef QIV_XML_ESCAPE_XML_H
#define QIV_XML_ESCAPE_XML_H

#include <string>

namespace Qiv::internal {

/// XmlHelper::escapeXml (qiv/xml.h) to the end of `out`.
void appendEscapedXml(std::string& out, const std::string& text);

} // namespace Qiv::internal

#endif

#include "fuzz.h"

#include "qiv/xml.h"

#include <cstring>
#include <glibmm/markup.h>

using Qiv::XmlHelper;

/// GLib has its own ways with other bytes.
static std::string plain(std::string text) {
  for (char& c : text)
    c = g_ascii_isprint(c) || (c && std::strchr("\t\n\r", c)) ? c : 'x';
  return text;
}

void tryText(const std::string& text) {
  std::string known = plain(text);
  AGREE(plain(XmlHelper::escapeXml(text)) == Glib::Markup::escape_text(known).raw());
  const std::size_t end = known.find("?>");
  std::string rest = known.substr(end == std::string::npos ? 0 : end + 2);
  AGREE(XmlHelper::_removeXmlDeclaration(known) == g_strstrip(rest.data()));
}

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
  const std::string escaped = Glib::Markup::escape_text(known).raw();
  AGREE(plain(XmlHelper::escapeXml(text)) == escaped);
  for (std::size_t before : {1, 2, 3, 4, 5, 6, 7, 507, 509, 511}) { // places in a word and a block
    const std::string around(before, 'x');
    AGREE(plain(XmlHelper::escapeXml("<" + around + text + around)) ==
          "&lt;" + around + escaped + around);
  }
  const std::size_t end = known.find("?>");
  std::string rest = known.substr(end == std::string::npos ? 0 : end + 2);
  AGREE(XmlHelper::_removeXmlDeclaration(known) == g_strstrip(rest.data()));
}

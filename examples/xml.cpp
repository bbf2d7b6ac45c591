/// Keeps a list as XML and turns it into a page.

#include <iostream>
#include <libxml++/libxml++.h>
#include <qiv/files.h>
#include <qiv/xml.h>
#include <sstream>

namespace {

constexpr const char* stylesheet = R"(<?xml version="1.0"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html"/>
  <xsl:template match="/hosts">
    <ul><xsl:for-each select="host"><li><xsl:value-of select="."/></li></xsl:for-each></ul>
  </xsl:template>
</xsl:stylesheet>
)";

void save(const std::string& path, const std::string& text) {
  Qiv::openOutputFileUTF8Name(path, std::ios::trunc) << text;
}

std::string read(const std::string& path) {
  std::ostringstream text;
  text << Qiv::openInputFileUTF8Name(path, {}).rdbuf();
  return text.str();
}

} // namespace

int main() {
  xmlpp::Document document;
  xmlpp::Element* const hosts = document.create_root_node("hosts");
  for (const char* name : {"alpha", "beta & gamma"})
    hosts->add_child("host")->set_child_text(name);
  const std::string xml = Qiv::XmlHelper::writeToString(hosts);
  std::cout << xml << "\n\n"
            << "escaped: " << Qiv::XmlHelper::escapeXml("<host name=\"x\">") << "\n\n";

  const std::string folder = Qiv::getQivCrossAppCacheDir();
  Qiv::mkdir_with_parents(folder.c_str());
  const std::string input = folder + "hosts.xml";
  const std::string style = folder + "hosts.xsl";
  const std::string page = folder + "hosts.html";
  save(input, xml);
  save(style, stylesheet);
  // Bad input gives an empty page and 0, and its reason on standard error.
  if (Qiv::XslTransformer(input.c_str(), style.c_str(), page.c_str()).transform() != 0)
    std::cout << "cannot write the page\n";
  std::cout << read(page);
}

#include "qiv/xml.h"

#include "support.h"

#include <cstdio>
#include <libxml++/document.h>
#include <libxml++/parsers/domparser.h>

namespace {

using Qiv::XslTransformer;
using support::readFile;
using support::TempDir;
using support::writeFile;

static_assert(std::is_copy_constructible_v<XslTransformer>);

/// Prints the parameter p in <b>, then an empty <br> and the text of the input.
std::string stylesheet(const std::string& output) {
  return R"(<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">)"
         R"(<xsl:output )" +
         output +
         R"(/><xsl:param name="p" select="'default'"/><xsl:template match="/">)"
         R"(<p><b><xsl:value-of select="$p"/></b><br/><xsl:value-of select="."/></p>)"
         R"(</xsl:template></xsl:stylesheet>)";
}

struct XslTransform : testing::Test {
  XslTransform() {
    writeFile(xml, "<a>ж&lt;</a>");
    writeFile(xsl, stylesheet(R"(method="text" encoding="UTF-8")"));
  }

  const TempDir folder;
  const std::string xml = folder / "in.xml", xsl = folder / "style.xsl", out = folder / "жук.out";
};

} // namespace

TEST_F(XslTransform, OutputFollowsTheStylesheet) {
  const struct {
    const char *output, *expected;
  } rows[] = {
      {R"(method="xml" encoding="UTF-8")",
       "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<p><b>default</b><br/>ж&lt;</p>\n"},
      {R"(method="xml" encoding="KOI8-R" omit-xml-declaration="yes")",
       "<p><b>default</b><br/>\xD6&lt;</p>\n"},
      {R"(method="html" encoding="UTF-8")", "<p><b>default</b><br>ж&lt;</p>\n"},
      {R"(method="text" encoding="UTF-8")", "defaultж<"},
  };
  for (const auto& row : rows) {
    writeFile(xsl, stylesheet(row.output));
    writeFile(out, std::string(1000, 'o'));
    EXPECT_EQ(XslTransformer(xml.c_str(), xsl.c_str(), out.c_str()).transform(), 0);
    EXPECT_EQ(readFile(out), row.expected) << row.output;
  }
}

TEST_F(XslTransform, KeepsParametersFromTheStylesheet) {
  const char first[] = "p", second[] = "p";
  XslTransformer transformer;
  transformer.setParams({{first, "'given'"}});
  transformer.setParams({{first, "'given'"}, {second, "'given'"}});
  EXPECT_EQ(transformer.getParams().size(), 2U);
  transformer.setParams({{second, "'given'"}});
  EXPECT_EQ(transformer.getParams().count(first), 0U);

  transformer.setInFiles(xml.c_str(), xsl.c_str());
  transformer.setOutFile(out.c_str());
  EXPECT_EQ(transformer.transform(), 0);
  EXPECT_EQ(readFile(out), "defaultж<");
  transformer.clearParams();
  EXPECT_TRUE(transformer.getParams().empty());
}

TEST_F(XslTransform, UnusableInputGivesAnEmptyFile) {
  const std::string malformed = folder / "malformed", missing = folder / "missing",
                    invalid = folder / "invalid";
  writeFile(malformed, "<a>");
  writeFile(invalid, R"(<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/)"
                     R"(Transform"><xsl:template match="[["/></xsl:stylesheet>)");
  const std::pair<const char*, const char*> rows[] = {
      {malformed.c_str(), xsl.c_str()},
      {xml.c_str(), malformed.c_str()},
      {missing.c_str(), xsl.c_str()},
      {xml.c_str(), missing.c_str()},
      {nullptr, xsl.c_str()},
      {xml.c_str(), nullptr},
      {nullptr, nullptr},
      {xml.c_str(), invalid.c_str()},
      {xml.c_str(), xml.c_str()},
      {folder.getPath().c_str(), folder.getPath().c_str()}};
  const long descriptors = support::openDescriptors();
  for (const auto& [input, style] : rows) {
    writeFile(out, "old");
    EXPECT_EQ(XslTransformer(input, style, out.c_str()).transform(), 0);
    EXPECT_EQ(readFile(out), "") << (input ? input : "null") << (style ? style : "null");
  }
  EXPECT_EQ(support::openDescriptors(), descriptors);
}

TEST_F(XslTransform, TellsOfOutputThatCannotBeWritten) {
  XslTransformer transformer(xml.c_str(), xsl.c_str(), "/no/such/folder/out");
  EXPECT_EQ(transformer.transform(), EOF);
  transformer.setOutFile("/dev/full");
  EXPECT_EQ(transformer.transform(), EOF);
  transformer.setOutFile(nullptr);
  EXPECT_THROW(transformer.transform(), std::logic_error);
}

TEST_F(XslTransform, LeavesLibxmlInWorkingOrder) {
  xmlpp::Document alive;
  alive.create_root_node("alive")->add_child("before");
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(XslTransformer(xml.c_str(), xsl.c_str(), out.c_str()).transform(), 0);
    EXPECT_EQ(readFile(out), "defaultж<");
    alive.get_root_node()->add_child("after")->set_child_text("ж");
    xmlpp::DomParser parser;
    parser.parse_memory(Qiv::XmlHelper::writeToString(alive.get_root_node()));
    EXPECT_EQ(parser.get_document()->get_root_node()->get_children("after").size(), round + 1U);
  }
}

#include "qiv/xml.h"

#include "support.h"

#include <libxml++/document.h>
#include <libxml++/parsers/domparser.h>

namespace {

using Qiv::XslTransformer;
using namespace support;

static_assert(std::is_copy_constructible_v<XslTransformer>);

/// Gives the parameter p in <b>, then an empty <br> and the text of what matches.
std::string stylesheet(const std::string& output, const std::string& match = "/") {
  return "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'><x:output " +
         output + "/><x:param name='p' select='1'/><x:template match='" + match + "'><p><b>" +
         "<x:value-of select='$p'/></b><br/><x:value-of "
         "select='.'/></p></x:template></x:stylesheet>";
}

struct XslTransform : testing::Test {
  XslTransform() {
    std::filesystem::current_path(folder.getPath());
    writeFile("xml", "<a>ж&lt;</a>");
    writeFile("xsl", stylesheet("method='text' encoding='UTF-8'"));
  }

  /// What a transformation leaves in a file that held something else.
  static std::string transform(const char* input, const char* style) {
    writeFile("жук", std::string(1000, 'o'));
    EXPECT_EQ(XslTransformer(input, style, "жук").transform(), 0);
    return readFile("жук");
  }

  const TempDir folder;
};

TEST_F(XslTransform, FollowsTheStylesheetAndLeavesLibxmlInOrder) {
  const std::pair<const char*, const char*> rows[] = {
      {"method='xml' encoding='UTF-8'",
       "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<p><b>1</b><br/>ж&lt;</p>\n"},
      {"method='xml' encoding='KOI8-R' omit-xml-declaration='yes'",
       "<p><b>1</b><br/>\xD6&lt;</p>\n"},
      {"method='html' encoding='UTF-8'", "<p><b>1</b><br>ж&lt;</p>\n"},
      {"method='text' encoding='UTF-8'", "1ж<"}};
  xmlpp::Document alive;
  alive.create_root_node("alive")->add_child("before")->set_child_text("ж");
  for (const auto& [output, expected] : rows) {
    writeFile("xsl", stylesheet(output));
    EXPECT_EQ(transform("xml", "xsl"), expected) << output;
    xmlpp::DomParser parser;
    parser.parse_memory(Qiv::XmlHelper::writeToString(alive.get_root_node()));
    EXPECT_EQ(parser.get_document()->get_root_node()->get_children("before").size(), 1U);
  }
}

TEST_F(XslTransform, OnlyKeepsParametersAndTellsOfUnwritableOutput) {
  const char first[] = "p", second[] = "p";
  XslTransformer transformer;
  transformer.setParams({{first, "'given'"}, {second, "'given'"}});
  EXPECT_EQ(transformer.getParams().size(), 2U);
  transformer.setParams({{second, "'given'"}});
  EXPECT_EQ(transformer.getParams().count(first), 0U);
  transformer.setInFiles("xml", "xsl");
  EXPECT_THROW(transformer.transform(), std::logic_error) << "no output name";
  for (const char* output : {"/no/such/out", "/dev/full", "out"}) {
    transformer.setOutFile(output);
    EXPECT_EQ(transformer.transform(), *output == '/' ? EOF : 0) << output;
  }
  EXPECT_EQ(readFile("out"), "1ж<");
  transformer.clearParams();
  EXPECT_TRUE(transformer.getParams().empty());
}

TEST_F(XslTransform, UnusableInputGivesAnEmptyFile) {
  writeFile("malformed", "<a>");
  writeFile("invalid", stylesheet("", "[["));
  const long descriptors = openDescriptors();
  for (const char* bad : {"malformed", ".", "missing", static_cast<const char*>(nullptr)})
    EXPECT_EQ(transform(bad, "xsl") + transform("xml", bad) + transform(bad, bad), "") << bad;
  EXPECT_EQ(transform("xml", "invalid") + transform("xml", "xml"), "");
  EXPECT_EQ(openDescriptors(), descriptors);
}

} // namespace

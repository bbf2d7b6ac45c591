#include "qiv/xml.h"

#include <cstring>
#include <gtest/gtest.h>
#include <iostream>
#include <libxml++/document.h>
#include <libxml++/nodes/element.h>
#include <libxml++/parsers/domparser.h>

using Qiv::XmlHelper;

namespace {

TEST(XmlHelper, EscapesFiveBytesAndNoOther) {
  std::string others;
  for (int c = 0; c < 256; ++c)
    if (c == 0 || !std::strchr("&<>\"'", c))
      others += static_cast<char>(c);
  EXPECT_EQ(XmlHelper::escapeXml(others + "<" + others), others + "&lt;" + others);
  EXPECT_EQ(XmlHelper::escapeXml("a&&amp;<b>\"'"), "a&amp;&amp;amp;&lt;b&gt;&quot;&apos;");
}

TEST(XmlHelper, EscapesWhereverMarkupStands) {
  for (const std::size_t size : {1, 8, 15, 512, 530})
    for (std::size_t at = 0; at < size; ++at) {
      const std::string before(at, 'x'), behind(size - at, 'y');
      ASSERT_EQ(XmlHelper::escapeXml("<" + before + "'" + behind),
                "&lt;" + before + "&apos;" + behind);
    }
}

TEST(XmlHelper, RemovesUpToTheFirstDeclarationEnd) {
  EXPECT_EQ(XmlHelper::_removeXmlDeclaration("<?xml version=\"1.0\"?>\r\n\t<a/> \n"), "<a/>");
  EXPECT_EQ(XmlHelper::_removeXmlDeclaration(" <a?/>\n"), "<a?/>");
  EXPECT_EQ(XmlHelper::_removeXmlDeclaration("<?xml?> \r\n"), "");
  EXPECT_EQ(XmlHelper::_removeXmlDeclaration("<a><?pi x?> rest </a>"), "rest </a>");
}

TEST(XmlHelper, WritesElementsWithoutTouchingTheirTree) {
  xmlpp::DomParser parser;
  parser.parse_memory("<r><a k='&lt;'><b>ж</b></a></r>");
  xmlpp::Document& document = *parser.get_document();
  auto* const child = dynamic_cast<xmlpp::Element*>(document.get_root_node()->get_first_child());
  const std::string text = "<a k=\"&lt;\">\n  <b>ж</b>\n</a>";
  EXPECT_EQ(XmlHelper::writeToString(child) + XmlHelper::writeToString(nullptr), text);
  testing::internal::CaptureStdout();
  XmlHelper::writeToOutput(child);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + text + "\n");
  EXPECT_EQ(XmlHelper::writeRootChildElementToString(document),
            "\n  <a k=\"&lt;\">\n    <b>ж</b>\n  </a>\n");
}

TEST(XmlHelper, WritesWhatFollowsTheFirstTag) {
  xmlpp::Document document;
  EXPECT_EQ(XmlHelper::writeRootChildElementToString(document), "");
  document.create_root_node("r");
  EXPECT_EQ(XmlHelper::writeRootChildElementToString(document), "");
  xmlpp::DomParser parser;
  parser.parse_memory("<!--c--><r>t</r>");
  EXPECT_EQ(XmlHelper::writeRootChildElementToString(*parser.get_document()), "\n<r>t");
}

TEST(XmlHelper, ReportsAFailingStream) {
  xmlpp::Document document;
  std::streambuf* const buffer = std::cout.rdbuf(nullptr);
  testing::internal::CaptureStderr();
  XmlHelper::writeToOutput(document.create_root_node("r"));
  const std::string errors = testing::internal::GetCapturedStderr();
  std::cout.rdbuf(buffer);
  const std::size_t what = errors.find("do_write_to_stream() failed.");
  ASSERT_NE(what, std::string::npos) << errors;
  EXPECT_EQ(errors.substr(errors.size() - 2), "\n\n") << "its own line feed, then ours";
}

} // namespace

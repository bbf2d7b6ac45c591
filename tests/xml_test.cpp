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
  std::string all, others;
  for (int c = 0; c < 256; ++c)
    all += static_cast<char>(c);
  for (const char c : all)
    if (!std::strchr("&<>\"'", c) || c == '\0')
      others += c;
  EXPECT_EQ(XmlHelper::escapeXml(others), others);
  EXPECT_EQ(XmlHelper::escapeXml("&<>\"'"), "&amp;&lt;&gt;&quot;&apos;");
  EXPECT_EQ(XmlHelper::escapeXml("a&&amp;b"), "a&amp;&amp;amp;b");
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
  xmlpp::Element* const root = parser.get_document()->get_root_node();
  auto* const child = dynamic_cast<xmlpp::Element*>(root->get_first_child());
  EXPECT_EQ(XmlHelper::writeToString(child), "<a k=\"&lt;\">\n  <b>ж</b>\n</a>");
  EXPECT_EQ(XmlHelper::writeRootChildElementToString(*parser.get_document()),
            "\n  <a k=\"&lt;\">\n    <b>ж</b>\n  </a>\n");
  EXPECT_EQ(child->get_parent(), root);
  testing::internal::CaptureStdout();
  XmlHelper::writeToOutput(child);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a k=\"&lt;\">\n  <b>ж</b>\n</a>\n");
}

TEST(XmlHelper, EmptyRootHasNoContent) {
  xmlpp::Document document;
  EXPECT_EQ(XmlHelper::writeRootChildElementToString(document), "");
  document.create_root_node("r");
  EXPECT_EQ(XmlHelper::writeRootChildElementToString(document), "");
  EXPECT_EQ(XmlHelper::writeToString(nullptr), "");
}

TEST(XmlHelper, ReportsAFailingStream) {
  xmlpp::Document document;
  std::cout.exceptions(std::ios::badbit);
  std::streambuf* const buffer = std::cout.rdbuf();
  EXPECT_THROW(std::cout.rdbuf(nullptr), std::ios_base::failure);
  testing::internal::CaptureStderr();
  XmlHelper::writeToOutput(document.create_root_node("r"));
  EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
  std::cout.rdbuf(buffer);
}

} // namespace

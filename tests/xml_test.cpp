#include "qiv/xml.h"

#include <gtest/gtest.h>
#include <iostream>
#include <libxml++/document.h>
#include <libxml++/nodes/element.h>
#include <libxml++/parsers/domparser.h>

using Qiv::XmlHelper;

namespace {

TEST(XmlHelper, EscapesFiveBytesAndNoOther) {
  for (int c = 0; c < 256; ++c) {
    const std::string text(1, static_cast<char>(c));
    const std::string expected = c == '&'    ? "&amp;"
                                 : c == '<'  ? "&lt;"
                                 : c == '>'  ? "&gt;"
                                 : c == '"'  ? "&quot;"
                                 : c == '\'' ? "&apos;"
                                             : text;
    EXPECT_EQ(XmlHelper::escapeXml("a" + text + text), "a" + expected + expected) << c;
  }
  EXPECT_EQ(XmlHelper::escapeXml(""), "");
  EXPECT_EQ(XmlHelper::escapeXml("&amp;"), "&amp;amp;");
}

TEST(XmlHelper, RemovesUpToTheFirstDeclarationEnd) {
  const struct {
    const char *xml, *expected;
  } rows[] = {
      {" \t\n\r<a/>\n", "<a/>"},
      {"<?xml version=\"1.0\"?>\n<a/>\n", "<a/>"},
      {"<?xml?> \r\n", ""},
      {"<a><?pi x?> rest </a> ", "rest </a>"},
      {"", ""},
      {"a?", "a?"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(XmlHelper::_removeXmlDeclaration(row.xml), row.expected) << row.xml;
}

TEST(XmlHelper, WritesElementsWithoutTouchingTheirTree) {
  xmlpp::DomParser parser;
  parser.parse_memory("<r><a k='&lt;'><b>ж</b></a></r>");
  xmlpp::Document& document = *parser.get_document();
  xmlpp::Element* root = document.get_root_node();
  auto* child = dynamic_cast<xmlpp::Element*>(root->get_first_child());

  EXPECT_EQ(XmlHelper::writeToString(child), "<a k=\"&lt;\">\n  <b>ж</b>\n</a>");
  EXPECT_EQ(XmlHelper::writeRootChildElementToString(document),
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
  testing::internal::CaptureStderr();
  {
    std::streambuf* const buffer = std::cout.rdbuf();
    EXPECT_THROW(std::cout.rdbuf(nullptr), std::ios_base::failure);
    XmlHelper::writeToOutput(document.create_root_node("r"));
    std::cout.rdbuf(buffer);
  }
  EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
}

} // namespace

#include "qiv/xml.h"

#include "support.h"

#include <cstring>
#include <iostream>
#include <libxml++/document.h>
#include <libxml++/nodes/element.h>
#include <libxml++/parsers/domparser.h>

using Qiv::XmlHelper;

TEST(XmlHelper, EscapesFiveBytesAndRemovesTheDeclaration) {
  std::string others;
  for (int c = 0; c < 256; ++c)
    others += c && std::strchr("&<>\"'", c) ? 'x' : static_cast<char>(c);
  for (std::size_t i = 0; i < others.size(); ++i) // at every place in a block
    EXPECT_EQ(XmlHelper::escapeXml(others.substr(i) + "&&amp;<b>\"'" + others),
              others.substr(i) + "&amp;&amp;amp;&lt;b&gt;&quot;&apos;" + others);
  EXPECT_EQ(XmlHelper::_removeXmlDeclaration("<?xml version=\"1.0\"?>\r\n\t<a?> \n"), "<a?>");
  EXPECT_EQ(XmlHelper::_removeXmlDeclaration("<?xml?> \r\n"), "");
}

TEST(XmlHelper, EscapesWhereverMarkupStands) {
  for (const std::size_t size : {1, 8, 15, 512, 530})
    for (std::size_t at = 0; at < size; ++at) {
      const std::string before(at, 'x'), behind(size - at, 'y');
      ASSERT_EQ(XmlHelper::escapeXml("<" + before + "'" + behind),
                "&lt;" + before + "&apos;" + behind);
    }
}

TEST(XmlHelper, WritesElementsAndLeavesNothingBehind) {
  const auto writeRootChildren = XmlHelper::writeRootChildElementToString;
  const std::string text = "<a k=\"&lt;\">\n  <b>ж</b>\n</a>";
  testing::internal::CaptureStderr();
  support::expectNothingLeft(
      "writing XML, a failing stream too", support::rounds(1000, 10000), [&] {
        xmlpp::DomParser parser;
        parser.parse_memory("<r><a k='&lt;'><b>ж</b></a></r>");
        xmlpp::Document &document = *parser.get_document(), bare, empty;
        auto* const child =
            dynamic_cast<xmlpp::Element*>(document.get_root_node()->get_first_child());
        EXPECT_EQ(XmlHelper::writeToString(child) + XmlHelper::writeToString(nullptr), text);
        std::ostringstream out;
        std::streambuf* const terminal = std::cout.rdbuf(out.rdbuf());
        XmlHelper::writeToOutput(child);
        EXPECT_EQ(out.str(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + text + "\n");
        std::cout.rdbuf(nullptr);
        XmlHelper::writeToOutput(child);
        std::cout.rdbuf(terminal);
        EXPECT_EQ(writeRootChildren(document), "\n  <a k=\"&lt;\">\n    <b>ж</b>\n  </a>\n");
        parser.parse_memory("<!--c--><r>t</r>");
        EXPECT_EQ(writeRootChildren(*parser.get_document()), "\n<r>t");
        bare.create_root_node("r");
        EXPECT_EQ(writeRootChildren(bare) + writeRootChildren(empty), "");
      });
  const std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_NE(errors.find("do_write_to_stream() failed."), std::string::npos) << errors;
  EXPECT_EQ(errors.substr(errors.size() - 2), "\n\n") << "its own line feed, then ours";
}

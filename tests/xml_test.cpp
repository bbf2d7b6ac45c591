#include "qiv/xml.h"

#include "support.h"

#include <iostream>
#include <libxml++/document.h>
#include <libxml++/nodes/element.h>
#include <libxml++/parsers/domparser.h>

using namespace support;
using Qiv::XmlHelper;

TEST(XmlHelper, WritesElementsAndLeavesNothingBehind) {
  const auto writeRootChildren = XmlHelper::writeRootChildElementToString;
  const std::string text = "<a k=\"&lt;\">\n  <b>ж</b>\n</a>";
  testing::internal::CaptureStderr();
  expectNothingLeft("writing XML, a failing stream too", rounds(1000, 10000), [&] {
    xmlpp::DomParser parser;
    parser.parse_memory("<r><a k='&lt;'><b>ж</b></a></r>");
    xmlpp::Document &document = *parser.get_document(), empty;
    auto* const child = dynamic_cast<xmlpp::Element*>(document.get_root_node()->get_first_child());
    EXPECT_EQ(XmlHelper::writeToString(child), text);
    EXPECT_EQ(XmlHelper::writeToString(nullptr), "");
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
    EXPECT_EQ(writeRootChildren(empty), "");
  });
  EXPECT_NE(testing::internal::GetCapturedStderr().find("do_write_to_stream() failed."),
            std::string::npos);
}

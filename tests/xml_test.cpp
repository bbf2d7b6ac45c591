#include "qiv/xml.h"

#include "support.h"

#include <iostream>
#include <libxml++/document.h>
#include <libxml++/nodes/element.h>
#include <libxml++/parsers/domparser.h>

using namespace support;
using Qiv::XmlHelper;
using Qiv::XslTransformer;

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

struct XslTransform : testing::Test {
  XslTransform() {
    std::filesystem::current_path(folder.getPath());
    writeFile("input", "<a>ж&lt;</a>");
    writeFile("malformed", "<a>");
  }

  /// Gives the parameter p, an empty <br> and what is selected.
  static void writeStyle(const std::string& output, const std::string& selected = ".") {
    writeFile("style", "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
                       "<x:param name='p' select='1'/><x:template match='/'><p><b><x:value-of "
                       "select='$p'/></b><br/><x:value-of select='" +
                           selected + "'/></p></x:template><x:output " + output +
                           "/></x:stylesheet>");
  }

  /// What a transformation leaves in a file that held something else.
  static std::string transform(const char* input, const char* style) {
    writeFile("жук", std::string(1000, 'o'));
    EXPECT_EQ(XslTransformer(input, style, "жук").transform(), 0);
    return readFile("жук");
  }

  const TempDir folder;
};

TEST_F(XslTransform, FollowsTheStylesheetAndLeavesNothingBehind) {
  const std::pair<const char*, const char*> rows[] = {
      {"method='xml' encoding='UTF-8'",
       "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<p><b>1</b><br/>ж&lt;</p>\n"},
      {"method='text' encoding='KOI8-R'", "1\xD6<"},
      {"method='html' encoding='UTF-8'", "<p><b>1</b><br>ж&lt;</p>\n"},
      {"cdata-section-elements=':'", ""}};
  xmlpp::Document alive;
  alive.create_root_node("alive");
  testing::internal::CaptureStderr();
  std::size_t call = 0;
  expectNothingLeft("XSL transformation, six of seven failing", rounds(100, 10000), [&] {
    const auto& [output, expected] = rows[++call % std::size(rows)];
    writeStyle(output);
    EXPECT_EQ(transform("input", "style"), expected) << output;
    for (const char* bad : {"malformed", ".", "missing"}) {
      EXPECT_EQ(transform(bad, "style"), "") << bad;
      EXPECT_EQ(transform("input", bad), "") << bad;
    }
    EXPECT_EQ(XmlHelper::writeToString(alive.get_root_node()), "<alive/>");
  });
  testing::internal::GetCapturedStderr();
}

TEST_F(XslTransform, OnlyKeepsParametersAndTellsOfUnwritableOutput) {
  writeStyle("method='text' encoding='UTF-8'");
  XslTransformer transformer;
  transformer.setParams({{"p", "'given'"}});
  transformer.setInFiles("input", "style");
  for (const char* output : {"/no/such/out", "/dev/full", "out"}) {
    transformer.setOutFile(output);
    EXPECT_EQ(transformer.transform(), *output == '/' ? EOF : 0) << output;
  }
  EXPECT_EQ(readFile("out"), "1ж<");
  EXPECT_EQ(transformer.getParams().size(), 1U);
}

TEST_F(XslTransform, MayReplaceWhatItReads) {
  writeFile("style", "");
  std::filesystem::create_symlink("input", "link to input");
  std::filesystem::create_hard_link("style", "name of style");
  for (const char* output : {"input", "link to input", "style", "name of style", "other"}) {
    writeFile("input", "<a>read</a>");
    writeFile("other", "<a> and asked for</a>");
    writeStyle("method='text'", "concat(., document(\"other\"))");
    EXPECT_EQ(XslTransformer("input", "style", output).transform(), 0) << output;
    EXPECT_EQ(readFile(output), "1read and asked for") << output;
  }
}

TEST_F(XslTransform, KeepsComplaintsOutOfTheOutput) {
  writeStyle("method='text'");
  inProcesses(1, [](int) {
    close(STDERR_FILENO); // the output takes its place
    EXPECT_EQ(transform("malformed", "style"), "");
  });
}

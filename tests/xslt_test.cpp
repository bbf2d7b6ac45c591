#include "qiv/xml.h"

#include "support.h"

#include <libxml++/document.h>

using Qiv::XslTransformer;
using namespace support;

static_assert(std::is_copy_constructible_v<XslTransformer>);

struct XslTransform : testing::Test {
  XslTransform() {
    std::filesystem::current_path(folder.getPath());
    writeFile("input", "<a>ж&lt;</a>");
    writeFile("malformed", "<a>");
    writeStyle("text", "method='text' encoding='UTF-8'");
    writeStyle("invalid", "cdata-section-elements=':'");
  }

  /// Gives the parameter p in <b>, then an empty <br> and the text of what matches.
  static void writeStyle(const std::string& file, const std::string& output) {
    writeFile(file, "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
                    "<x:param name='p' select='1'/><x:template match='/'><p><b><x:value-of "
                    "select='$p'/></b><br/><x:value-of select='.'/></p></x:template><x:output " +
                        output + "/></x:stylesheet>");
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
      {"method='xml' encoding='KOI8-R' omit-xml-declaration='yes'",
       "<p><b>1</b><br/>\xD6&lt;</p>\n"},
      {"method='html' encoding='UTF-8'", "<p><b>1</b><br>ж&lt;</p>\n"}};
  const char* const unusable[] = {"malformed", ".", "missing", nullptr};
  xmlpp::Document alive;
  alive.create_root_node("alive")->add_child("before")->set_child_text("ж");
  testing::internal::CaptureStderr();
  std::size_t call = 0;
  expectNothingLeft(
      "XSL transformation, three of four with unusable files", rounds(100, 2500), [&] {
        const auto& [output, expected] = rows[++call % 3];
        writeStyle("style", output);
        EXPECT_EQ(transform("input", "style"), expected) << output;
        const char* const bad = unusable[call % 4];
        EXPECT_EQ(transform(bad, "style") + transform("input", bad) + transform(bad, bad), "")
            << call;
        EXPECT_EQ(Qiv::XmlHelper::writeToString(alive.get_root_node()),
                  "<alive>\n  <before>ж</before>\n</alive>");
      });
  EXPECT_EQ(transform("input", "invalid") + transform("input", "input"), "");
  testing::internal::GetCapturedStderr();
}

TEST_F(XslTransform, OnlyKeepsParametersAndTellsOfUnwritableOutput) {
  const char first[] = "p", second[] = "p";
  XslTransformer transformer;
  transformer.setParams({{first, "'given'"}, {second, "'given'"}});
  EXPECT_EQ(transformer.getParams().size(), 2U);
  transformer.setParams({{second, "'given'"}});
  EXPECT_EQ(transformer.getParams().count(first), 0U);
  transformer.setInFiles("input", "text");
  EXPECT_THROW(transformer.transform(), std::logic_error) << "no output name";
  for (const char* output : {"/no/such/out", "/dev/full", "out"}) {
    transformer.setOutFile(output);
    EXPECT_EQ(transformer.transform(), *output == '/' ? EOF : 0) << output;
  }
  transformer.clearParams();
  EXPECT_EQ(readFile("out") + std::to_string(transformer.getParams().size()), "1ж<0");
}

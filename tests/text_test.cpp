#include "qiv/text.h"

#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

using namespace Qiv;

namespace {

TEST(StringHelper, MatchesAtAPosition) {
  EXPECT_TRUE(StringHelper::isInclude("Infinity", "INF", 0, 8, true));
  EXPECT_FALSE(StringHelper::isInclude("Infinity", "INF", 0, 8, false));
  EXPECT_FALSE(StringHelper::isInclude("inf", "infinity", 0, 3, true));
  EXPECT_TRUE(StringHelper::isInclude("abc", "bc", 1, 3, false));
  EXPECT_FALSE(StringHelper::isInclude("abc", "bc", 1, 2, false));
  EXPECT_TRUE(StringHelper::isInclude("abc", "", 4, 3, false)) << "end - pos is unsigned";
  EXPECT_FALSE(StringHelper::isInclude("abc", "c", 9, 3, false)) << "nothing is read behind";
  EXPECT_FALSE(StringHelper::isInclude("Жук", "жук", 0, 6, true)) << "bytes, not letters";
}

TEST(StringHelper, ReplacesWithoutRescanning) {
  EXPECT_EQ(StringHelper::replaceAll("aaa", "a", "aa"), "aaaaaa");
  EXPECT_EQ(StringHelper::replaceAll("aaa", "aa", "b"), "ba");
  EXPECT_EQ(StringHelper::replaceAll("a-b-c", "-", ""), "abc");
  EXPECT_EQ(StringHelper::replaceAll("abc", "", "x"), "abc");
}

TEST(StringHelper, SplitsLikeGetline) {
  for (const std::string text : {"", ".", "..", "1.2", "1..2", ".1", "a.b.", "plain"}) {
    std::vector<std::string> pieces;
    std::istringstream stream(text);
    for (std::string piece; std::getline(stream, piece, '.');)
      pieces.push_back(piece);
    if (text.empty() || text.back() == '.')
      pieces.emplace_back();
    EXPECT_EQ(StringHelper::split(text, '.'), pieces) << text;
  }
}

TEST(StringHelper, ComparesEnds) {
  EXPECT_TRUE(StringHelper::startsWith("abc", "ab") && StringHelper::endsWith("abc", "bc"));
  EXPECT_TRUE(StringHelper::startsWith("", "") && StringHelper::endsWith("abc", ""));
  EXPECT_FALSE(StringHelper::startsWith("ab", "abc") || StringHelper::endsWith("bc", "abc"));
}

TEST(StringHelper, FormatsAnyLength) {
  EXPECT_EQ(StringHelper::formatC("%02d:%02d:%5000d", 1, 2, 3).substr(0, 6), "01:02:");
  EXPECT_EQ(StringHelper::formatC("a%c%d%d", 0, 1, 2), std::string("a\00012", 4));
  EXPECT_THROW(StringHelper::formatC(nullptr, 1, 2, 3), std::logic_error);

  const std::string message = "Qiv::StringHelper::format - Error during formatting.";
  testing::internal::CaptureStdout();
  EXPECT_THROW(StringHelper::formatC("%2147483648d%d%d", 1, 2, 3), std::runtime_error);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), message);
}

TEST(BitConverter, PrintsTwoDigits) {
  EXPECT_EQ(BitConverter::to_HexString(0x0A), "0A");
  EXPECT_EQ(BitConverter::to_HexString(0xF0), "F0");
}

} // namespace

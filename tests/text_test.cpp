#include "qiv/text.h"

#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

using namespace Qiv;

namespace {

TEST(StringHelper, MatchesAtAPosition) {
  const struct {
    const char* text;
    const char* part;
    std::size_t pos, end;
    bool ignoreCase, expected;
  } rows[] = {
      {"Infinity", "INF", 0, 8, true, true},  {"Infinity", "INF", 0, 8, false, false},
      {"inf", "infinity", 0, 3, true, false}, {"abc", "", 2, 3, false, true},
      {"abc", "bc", 1, 3, false, true},       {"abc", "bc", 1, 2, false, false},
      {"abc", "", 4, 3, false, true},         {"abc", "c", 9, 3, false, false},
      {"abc", "abcd", 0, 99, false, false},   {"Жук", "жук", 0, 6, true, false},
  };
  for (const auto& row : rows)
    EXPECT_EQ(StringHelper::isInclude(row.text, row.part, row.pos, row.end, row.ignoreCase),
              row.expected)
        << row.part << " in " << row.text << " at " << row.pos;
}

TEST(StringHelper, ReplacesWithoutRescanning) {
  const struct {
    const char *text, *from, *to, *expected;
  } rows[] = {
      {"aaa", "a", "aa", "aaaaaa"}, {"abc", "", "x", "abc"}, {"a-b-c", "-", "", "abc"},
      {"aaa", "aa", "b", "ba"},     {"", "a", "b", ""},      {"xay", "a", "a", "xay"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(StringHelper::replaceAll(row.text, row.from, row.to), row.expected) << row.text;
}

TEST(StringHelper, SplitsLikeGetline) {
  const auto byStream = [](const std::string& text) {
    std::vector<std::string> pieces;
    std::istringstream stream(text);
    for (std::string piece; std::getline(stream, piece, '.');)
      pieces.push_back(piece);
    if (text.empty() || text.back() == '.')
      pieces.emplace_back();
    return pieces;
  };
  for (const std::string text : {"", ".", "..", "1.2", "1..2", ".1", "a.b.", "plain"})
    EXPECT_EQ(StringHelper::split(text, '.'), byStream(text)) << text;
  EXPECT_EQ(StringHelper::split({"a\0b", 3}, '\0').size(), 2U);
}

TEST(StringHelper, ComparesEnds) {
  EXPECT_TRUE(StringHelper::startsWith("abc", "ab"));
  EXPECT_FALSE(StringHelper::startsWith("ab", "abc"));
  EXPECT_TRUE(StringHelper::startsWith("", ""));
  EXPECT_TRUE(StringHelper::endsWith("abc", ""));
  EXPECT_TRUE(StringHelper::endsWith("abc", "bc"));
  EXPECT_FALSE(StringHelper::endsWith("bc", "abc"));
}

TEST(StringHelper, FormatsAnyLength) {
  EXPECT_EQ(StringHelper::formatC("%02d:%02d:%02d", 1, 2, 3), "01:02:03");
  EXPECT_EQ(StringHelper::formatC("%5000d%d%d", 1, 2, 3).size(), 5002U);
  EXPECT_EQ(StringHelper::formatC("a%c%d%d", 0, 1, 2), std::string("a\00012", 4));
  EXPECT_THROW(StringHelper::formatC(nullptr, 1, 2, 3), std::logic_error);
}

TEST(StringHelper, ReportsWhatCannotBeFormatted) {
  const std::string message = "Qiv::StringHelper::format - Error during formatting.";
  testing::internal::CaptureStdout();
  try {
    StringHelper::formatC("%2147483648d%d%d", 1, 2, 3);
    ADD_FAILURE() << "an impossible width was formatted";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), message);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), message);
}

TEST(BitConverter, PrintsTwoDigits) {
  EXPECT_EQ(BitConverter::to_HexString(0), "00");
  EXPECT_EQ(BitConverter::to_HexString(0x0A), "0A");
  EXPECT_EQ(BitConverter::to_HexString(255), "FF");
}

} // namespace

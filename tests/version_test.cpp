#include <sys/sysmacros.h> // defines major and minor as macros, which the header must bear

#include "qiv/text.h"

#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>

using Qiv::Version;

TEST(Version, ReadsText) {
  const std::pair<const char*, const char*> rows[] = {
      {"1.2", "1.2"},           {"1.2.3", "1.2.3"},  {"1.2.3.4", "1.2.3.4"},
      {" 1. 2", "1.2"},         {"+1.002", "1.2"},   {"1 .2", "0.0.0.0"},
      {"1", "0.0.0.0"},         {"", "0.0.0.0"},     {"1.2.", "0.0.0.0"},
      {"1..2", "0.0.0.0"},      {"a.b", "0.0.0.0"},  {"1.2147483648", "0.0.0.0"},
      {"1.2.3.4.5", "0.0.0.0"}, {"1.0x2", "0.0.0.0"}};
  for (const auto& [text, written] : rows)
    EXPECT_EQ(Version(text).to_string(), written) << text;
}

TEST(Version, ParseSetsPartsAsItReadsThem) {
  Version version(1, 2, 3, 4);
  EXPECT_TRUE(version.parse("5.6"));
  EXPECT_EQ(version.to_string(), "5.6.3.4");
  EXPECT_FALSE(version.parse("9") || version.parse("7.x.8"));
  EXPECT_EQ(version.to_string(), "7.6.3.4");
}

TEST(Version, RejectsNegativeParts) {
  Version version(1, 2);
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"Значение major < 0", [] { Version(-1, -1); }},
      {"Значение minor < 0", [] { Version(1, -1, -1); }},
      {"Значение build < 0", [] { Version(1, 1, -1, -1); }},
      {"Значение revision < 0", [&] { version.setData(5, 5, 5, -1); }},
      {"Значение < 0", [&] { version._setItem(9, -1); }},
      {"Значение < 0", [] { Version("1.2.3.4.-5"); }}};
  for (const auto& [message, act] : rows)
    try {
      act();
      ADD_FAILURE() << "not thrown: " << message;
    } catch (const std::invalid_argument& error) {
      EXPECT_STREQ(error.what(), message);
    }
  EXPECT_FALSE(version._setItem(4, 1) || version._setItem(-1, 1));
  EXPECT_EQ(version.to_string(4), "1.2.-1.-1");
}

TEST(Version, WritesTextAndBytes) {
  Version version(1, 2);
  version._setItem(3, 300);
  EXPECT_EQ(version.to_string(), "1.2");
  EXPECT_EQ(version.to_string(1) + version.to_string(0) + version.to_string(5), "1");
  EXPECT_EQ(version.getBytes(), (std::vector<unsigned char>{1, 2, 44}));
  EXPECT_EQ(Version(0, 257, 0).getBytes(), (std::vector<unsigned char>{0, 1, 0}));
}

TEST(Version, OrdersAnAbsentPartBelowZero) {
  const Version rising[] = {{1, 2}, {1, 2, 0}, {1, 2, 0, 0}, {1, 2, 0, 9}, {1, 10}, {2, 0}};
  for (const Version& a : rising)
    for (const Version& b : rising) {
      EXPECT_EQ(a.compareTo(b), (&a > &b) - (&a < &b));
      EXPECT_TRUE((a < b) == (&a < &b) && (a <= b) == (&a <= &b) && (a == b) == (&a == &b));
      EXPECT_TRUE((a > b) == (&a > &b) && (a >= b) == (&a >= &b));
    }
}

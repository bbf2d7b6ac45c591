#include "qiv/numeric.h"

#include <climits>
#include <cmath>
#include <glib.h>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

using namespace Qiv;
using namespace std::string_literals;

/// Tells -0 from 0 and NaN from -NaN.
static bool same(double a, double b) {
  return (a == b || (std::isnan(a) && std::isnan(b))) && std::signbit(a) == std::signbit(b);
}

/// The library's rules told with streams: slow, but right by definition.
template <typename T>
static std::size_t readWithStream(const std::string& text, std::size_t pos, T& out) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T value;
  if (!(in.seekg(static_cast<std::streamoff>(pos)) >> value))
    return pos;
  out = value;
  return in.eof() ? text.size() : static_cast<std::size_t>(in.tellg());
}

static std::size_t readName(const std::string& text, std::size_t pos, double& out) {
  for (const std::string name : {"nan", "infinity", "inf", "-nan", "-infinity", "-inf"})
    if (pos < text.size() && !g_ascii_strncasecmp(&text[pos], name.c_str(), name.size())) {
      out = std::strtod(name.c_str(), nullptr);
      return pos + name.size();
    }
  return pos;
}

static std::string writeWithStream(double value, int precision) {
  const double digits = 15.0 - precision, e = std::ceil(std::log10(value));
  const double significant = e < 0 ? std::min(digits, 15.0) : std::min(digits, 15 - e) + e;
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.precision(std::isfinite(significant) ? static_cast<int>(significant) : INT_MIN);
  out << value;
  return std::abs(value) < std::pow(10, -digits) ? "0" : out.str();
}

static bool isReadAsByStream(const std::string& text) {
  double expected, value, number = 42;
  std::size_t end = 0;
  for (std::size_t pos = std::min<std::size_t>(text.size() + 1, 5) + 1; pos-- > 0;) {
    expected = value = 42;
    const std::size_t nameEnd = readName(text, pos, expected);
    if (tryExtractSpecialFloating(text, pos, value) != nameEnd || !same(value, expected))
      return false;
    value = 42;
    end = std::max(readWithStream(text, pos, expected), nameEnd);
    if (tryExtractFloating(text, pos, value) != end || !same(value, expected))
      return false;
  }
  int expectedInt = 42, integer = 42;
  const bool isNumber = end == text.size() && end > 0;
  const bool isInt = isNumber && readWithStream(text, 0, expectedInt) == end;
  const bool isIncomplete = text.empty() || text == "." || text == "-";
  return tryConvert<double, true>(text, number) == isNumber &&
         tryConvert<int, true>(text, integer) == isInt && same(number, isNumber ? expected : 42) &&
         integer == (isInt ? expectedInt : 42) &&
         NumericHelper::isNumericInput(text) == (isNumber || isIncomplete);
}

/// Numbers as text must not notice the user's locale: other points, grouping, a dotless i.
struct NumberText : testing::TestWithParam<const char*> {
  void SetUp() override {
    if (!setlocale(LC_ALL, GetParam()))
      GTEST_SKIP() << "not installed";
    std::locale::global(std::locale(GetParam()));
  }
  std::mt19937_64 random;
};
INSTANTIATE_TEST_SUITE_P(Locale, NumberText,
                         testing::Values("C", "de_DE.UTF-8", "ru_RU.KOI8-R", "tr_TR.ISO-8859-9"));

TEST_P(NumberText, IsReadAsByStream) {
  for (const auto& [alphabet, count] :
       {std::pair("019.eE+- xinfaN\t"s, 69905U), {"1.e+-"s, 19531U}})
    for (std::size_t number = 0; number < count; ++number) { // every short text
      std::string text;
      for (std::size_t rest = number; rest > 0; rest = (rest - 1) / alphabet.size())
        text += alphabet[(rest - 1) % alphabet.size()];
      ASSERT_PRED1(isReadAsByStream, text);
    }
  const std::string characters = "0123456789.eE+-infatyINF xp()\0\n\v\f\r,;"s, zeros(400, '0');
  for (const std::string& seed :
       {"1.7976931348623157e308"s, "2.4703282292062327e-324"s, "-123456.789e-5"s, "-2147483648"s,
        "2147483647"s, "-Infinity"s, "nan(1)"s, "-0." + zeros + "1e+410", "1" + zeros + "e-390",
        "1e-" + zeros + "9", "0e+9" + zeros, "-.1e-9223372036854775808"s, zeros + "12",
        "1" + zeros + "e9223372036854775807"})
    for (int round = 0; round < 1000; ++round) {
      std::string text = seed;
      for (int edits = round % 4; edits > 0; --edits)
        text.replace(random() % (text.size() + 1), random() % 2, random() % 3,
                     characters[random() % characters.size()]);
      ASSERT_PRED1(isReadAsByStream, text);
    }
}

TEST_P(NumberText, IsWrittenAsByStream) {
  for (int round = 0; round < 5000; ++round) {
    const double power = std::pow(10, round % 635 - 325); // 0 and infinity too
    const double below = std::nextafter(power, 0), above = std::nextafter(power, INFINITY);
    const double any = std::ldexp(random(), static_cast<int>(random() % 2100) - 1140);
    const double half = std::ldexp(random() >> 40, -(round % 16)); // between two texts
    const int odd = static_cast<int>(random() % 800) - 400;
    for (const double value : {power, below, above, any, half, double{NAN}})
      for (const double number : {value, -value})
        for (const int precision : {2, 0, odd, INT_MIN, INT_MAX}) {
          const std::string text = convertToString<double, true>(number, precision);
          ASSERT_EQ(text, writeWithStream(number, precision)) << number << ", " << precision;
        }
  }
}

TEST(NumericRange, IsReadAndWritten) {
  NumericRange range(7, 8, 9);
  for (const char* text : {"", "1", "1;2", "1;2;3;4", ";;", "1 ;2;3", "1;2;", "1;+inf;0"}) {
    std::istringstream in(text);
    range << in;
    EXPECT_TRUE(in.bad() && range == NumericRange(7, 8, 9)) << text;
  }
  std::istringstream in(" 1;\t2; +0.5");
  in.seekg(4);
  range << in;
  EXPECT_TRUE(in.good() && in.tellg() == 4 && range == NumericRange(1, 2, 0.5));
  std::ostringstream out("range ", std::ios::ate);
  range >> out;
  NumericRange(-1, 1e-13, 9e-14) >> out;
  NumericRange::Full() >> out;
  EXPECT_EQ(out.str(), "range 1;2;0.5-1;1e-13;0-inf;inf;0");
  EXPECT_TRUE(NumericRangeTypeConverter::fromStringData("-inf;inf;0", range) && range.isFull());
}

TEST(ApproximateLogic, ComparesWithinEitherBound) {
  EXPECT_TRUE(ApproximateLogic::equals(-1, -2, {0.5, 0}));
  EXPECT_TRUE(ApproximateLogic::equals(2, 1, {0.5, 0}) && ApproximateLogic::equals(2, 1, {0, 1}));
  EXPECT_TRUE(ApproximateLogic::equals(-INFINITY, -INFINITY, {-1, -1}));
  EXPECT_FALSE(ApproximateLogic::equals(1e6, 1e6 + 2, {1e-6, 1}));
  EXPECT_FALSE(ApproximateLogic::equals(INFINITY, 1e308, {INFINITY, INFINITY}));
  EXPECT_FALSE(ApproximateLogic::equals(NAN, NAN, {1, 1}));
  EXPECT_TRUE(ApproximateLogic::contains(10.0000001, {0, 10, 0}, {0, 1e-6}));
  EXPECT_FALSE(ApproximateLogic::contains(-0.1, {0, 10, 0}, {0, 1e-6}));
  EXPECT_TRUE(ApproximateLogic::contains(NAN, {0, 10, 0}, {}));
  EXPECT_EQ(NumericRange::And({0, 10, 0.5}, {5, 20, 0.1}), NumericRange(5, 10, 0.5));
  EXPECT_EQ(NumericRange::And({2, 3, 0}, {0, 1, 4}), NumericRange(2, 1, 4));
  EXPECT_EQ(NumericRange::And({1, 2, 3}, {NAN, NAN, NAN}), NumericRange(1, 2, 3));
}

TEST(ApproximateLogic, LimitsValues) {
  const std::tuple<double, const char*, double> rows[] = {
      {2.6, "-inf;inf;1", 3}, {12, "-inf;10;0", 10},     {1, "2;inf;0", 2},
      {5, "2;1;0", NAN},      {11, "0;10;3", 9},         {-2.5, "-9;9;1", -3},
      {2.01, "0;10;1", 2},    {9.6, "0;9.95;1", 9.95},   {1.4, "1.05;9;1", 1.05},
      {9.6, "0;9.7;1", 9},    {1.6, "0.95;1.7;1", 0.95}, {0.6, "0.5;0.7;1", NAN},
      {1.3, "1.2;9;1", 2},    {1.3, "1.2;2.05;1", 2.05}, {0.4, "0.3;0.45;1", NAN}};
  for (const auto& [value, text, expected] : rows) {
    NumericRange range = NumericRange::Full();
    NumericRangeTypeConverter::fromStringData(text, range);
    const double limited = ApproximateLogic::limitValue(value, range, {0, 0.1}, false, true);
    EXPECT_PRED2(same, limited, expected) << value << " in " << text;
  }
  EXPECT_EQ(ApproximateLogic::limitValue(5.4, {1, 10, 3}, {}, true, true), 4);
  EXPECT_EQ(ApproximateLogic::limitValue(2.01, {0, 10, 1}, {0, 0.1}, false, false), 2.01);
}

TEST(NullableBool, IsReadAndWritten) {
  const std::pair<const char*, const char*> rows[] = {
      {"", ""},           {"true", "true"},      {"1", "true"},
      {"True", "true"},   {"false", "false"},    {"0", "false"},
      {"False", "false"}, {"TRUE", "bad false"}, {" true", "bad false"}};
  for (const auto& [text, written] : rows) {
    NullableBool value = false;
    std::istringstream in(text);
    value << in;
    std::ostringstream out;
    value >> out;
    EXPECT_EQ((in.bad() ? "bad " : "") + out.str(), written) << text;
  }
}

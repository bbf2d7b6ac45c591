#include "qiv/numeric.h"

#include "qiv/text.h"
#include "support.h"

#include <climits>
#include <cmath>
#include <glib.h>
#include <random>

using namespace Qiv;
using namespace std::string_literals;
using namespace support;

/// Tells -0 from 0 and NaN from -NaN.
static bool same(double a, double b) {
  return (a == b || (std::isnan(a) && std::isnan(b))) && std::signbit(a) == std::signbit(b);
}

/// The library's rules told with streams: slow, but right by definition.
template <typename T>
static std::size_t readWithStream(const std::string& text, T& out) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T value;
  if (!(in >> value))
    return 0;
  out = value;
  return in.eof() ? text.size() : static_cast<std::size_t>(in.tellg());
}

static std::size_t readName(const std::string& text, double& out) {
  for (const std::string name : {"nan", "infinity", "inf", "-nan", "-infinity", "-inf"})
    if (!g_ascii_strncasecmp(text.c_str(), name.c_str(), name.size())) {
      out = std::strtod(name.c_str(), nullptr);
      return name.size();
    }
  return 0;
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

static void expectReadAsByStream(const std::string& text) {
  double name = 42, number, ours = 42;
  const std::size_t nameEnd = readName(text, name);
  const std::size_t end = std::max(readWithStream(text, number = name), nameEnd);
  const bool whole = end == text.size() && end > 0;
  int integer = 42, ourInteger = 42;
  const bool isInteger = whole && readWithStream(text, integer) == end;
  bool alike = tryConvert<double, true>(text, ours) == whole && same(ours, whole ? number : 42);
  alike &= tryExtractFloating("8-" + text, 2, ours = 42) == end + 2 && same(ours, number);
  alike &= tryExtractSpecialFloating("8-" + text, 2, ours = 42) == nameEnd + 2 && same(ours, name);
  alike &= tryConvert<int, true>(text, ourInteger) == isInteger;
  const bool incomplete = text.empty() || text == "." || text == "-";
  alike &= NumericHelper::isNumericInput(text) == (whole || incomplete);
  EXPECT_TRUE(alike && ourInteger == (isInteger ? integer : 42)) << text;
}

/// Numbers as text must not notice the user's locale: other points, grouping, a dotless i.
struct NumberText : testing::TestWithParam<const char*> {
  void SetUp() override {
    if (!setlocale(LC_ALL, GetParam()))
      GTEST_SKIP() << "not installed";
    std::locale::global(std::locale(GetParam()));
  }
  void TearDown() override { std::locale::global(std::locale::classic()); }
};
INSTANTIATE_TEST_SUITE_P(Locale, NumberText,
                         testing::Values("C", "de_DE.UTF-8", "ru_RU.KOI8-R", "tr_TR.ISO-8859-9"));

TEST_P(NumberText, IsReadAsByStream) {
  everyText("", "019.eE+- xinfaN\t", rounds(4, 5), expectReadAsByStream);
  everyText("", "1.e+-", rounds(6, 7), expectReadAsByStream);
  double none;
  EXPECT_EQ(tryExtractFloating("12", 3, none), 3U) << "there is nothing at 3";
  const std::string zeros(400, '0'), ends("0178e-yY(, \n\v\f\r\0", 17);
  for (const std::string& start :
       {"1.797693134862315"s, "2.470328229206232"s, "-123456.789"s, "-214748364"s, "214748364"s,
        "-Infinit"s, "NAN("s, "0e+9"s + zeros, "-.1e-9223372036854775808"s, "1" + zeros + "e-39",
        "-0." + zeros + "1e+41", "1e-" + zeros, zeros + "1", "1e922337203685477580"s,
        "1.7976931348623157e30"s, "2.4703282292062327e-32"s, "9.09011162877187"s,
        "1844674407370955161"s})
    everyText(start, ends, 2, expectReadAsByStream);
}

TEST_P(NumberText, IsWrittenAsByStream) {
  std::mt19937_64 random;
  for (int round = 0; round < rounds(5000, 500000); ++round) {
    const double power = std::pow(10, round % 635 - 325); // 0 and infinity too
    const double any = std::ldexp(random(), static_cast<int>(random() % 2100) - 1140);
    const double half = std::ldexp(random() >> 40, -(round % 16)); // between two texts
    const int odd = static_cast<int>(random() % 800) - 400;
    const double values[] = {
        power, std::nextafter(power, 0), std::nextafter(power, INFINITY), any, half, NAN};
    for (double value : values)
      for (const int precision : {2, round % 18, odd, INT_MIN, INT_MAX})
        for (int sign = 0; sign < 2; ++sign, value = -value) {
          const std::string text = convertToString<double, true>(value, precision);
          ASSERT_EQ(text, writeWithStream(value, precision)) << value << ", " << precision;
        }
  }
}

TEST(NumericRange, IsReadFromStreamsAndWritten) {
  NumericRange range(7, 8, 9);
  std::istringstream bad("1;2;3;4"), in(" 1;\t2; +0.5");
  range << bad;
  EXPECT_TRUE(bad.bad() && range == NumericRange(7, 8, 9));
  in.seekg(4);
  range << in;
  EXPECT_TRUE(in.good() && in.tellg() == 4 && range == NumericRange(1, 2, 0.5));
  std::ostringstream out("range ", std::ios::ate);
  for (const NumericRange& each : {range, NumericRange(-1, 1e-13, 9e-14), NumericRange::Full()})
    each >> out;
  EXPECT_EQ(out.str(), "range 1;2;0.5-1;1e-13;0-inf;inf;0");
  EXPECT_TRUE(NumericRange::Full().isFull() && !range.isFull());
}

TEST(ApproximateLogic, ComparesAndLimitsWithinEitherBound) {
  using Logic = ApproximateLogic;
  EXPECT_TRUE(Logic::equals(-1, -2, {0.5, 0}) && Logic::equals(2, 1, {0.5, 0}));
  EXPECT_TRUE(Logic::equals(2, 1, {0, 1}) && Logic::equals(-INFINITY, -INFINITY, {-1, -1}));
  EXPECT_FALSE(Logic::equals(1e6, 1e6 + 2, {1e-6, 1}) || Logic::equals(NAN, NAN, {1, 1}));
  EXPECT_FALSE(Logic::equals(INFINITY, 1e308, {INFINITY, INFINITY}));
  EXPECT_TRUE(Logic::contains(10.0000001, {0, 10, 0}, {0, 1e-6}));
  EXPECT_FALSE(Logic::contains(-0.1, {0, 10, 0}, {0, 1e-6}));
  EXPECT_TRUE(Logic::contains(NAN, {0, 10, 0}, {}));
  EXPECT_EQ(NumericRange::And({0, 10, 0.5}, {5, 20, 0.1}), NumericRange(5, 10, 0.5));
  EXPECT_EQ(NumericRange::And({2, 3, 0}, {0, 1, 4}), NumericRange(2, 1, 4));
  EXPECT_EQ(NumericRange::And({1, 2, 3}, {NAN, NAN, NAN}), NumericRange(1, 2, 3));
  EXPECT_EQ(Logic::limitValue(5.4, {1, 10, 3}, {}, true, true), 4);
  EXPECT_EQ(Logic::limitValue(2.01, {0, 10, 1}, {0, 0.1}, false, false), 2.01);
  constexpr double inf = INFINITY;
  const double rows[][5] = {
      {2.6, -inf, inf, 1, 3}, {12, -inf, 10, 0, 10},     {1, 2, inf, 0, 2},
      {5, 2, 1, 0, NAN},      {11, 0, 10, 3, 9},         {-2.5, -9, 9, 1, -3},
      {2.01, 0, 10, 1, 2},    {9.6, 0, 9.95, 1, 9.95},   {1.4, 1.05, 9, 1, 1.05},
      {9.6, 0, 9.7, 1, 9},    {1.6, 0.95, 1.7, 1, 0.95}, {0.6, 0.5, 0.7, 1, NAN},
      {1.3, 1.2, 9, 1, 2},    {1.3, 1.2, 2.05, 1, 2.05}, {0.4, 0.3, 0.45, 1, NAN}};
  for (const auto& [value, min, max, step, expected] : rows)
    EXPECT_PRED2(same, Logic::limitValue(value, {min, max, step}, {0, 0.1}, false, true), expected)
        << value << " within " << min << " and " << max;
}

TEST(NullableBool, IsReadAndWritten) {
  expectRows("~ null  true true  1 true  True true  false false  0 false  False false "
             "TRUE bad-true  _false bad-true",
             [](const std::string& text) {
               NullableBool value = true;
               std::istringstream in(text);
               value << in;
               std::ostringstream out;
               value >> out;
               return (in.bad() ? "bad-" : value.hasValue ? "" : "null") + out.str();
             });
}

#include "qiv/numeric.h"

#include "qiv/text.h"
#include "support.h"

#include <climits>
#include <cmath>
#include <map>
#include <random>

using namespace Qiv;
using namespace std::string_literals;
using namespace support;

static_assert(!std::is_constructible_v<NullableBool, const char*>, "a text must not read as true");
static_assert(!std::is_constructible_v<Nullable<bool>, void*, bool>);
static_assert(std::is_constructible_v<Nullable<std::string>, const char*>);

/// Tells -0 from 0 and NaN from -NaN.
static bool same(double a, double b) {
  return (a == b || (std::isnan(a) && std::isnan(b))) && std::signbit(a) == std::signbit(b);
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

static void readAndWriteAsStream() {
  // Where a processor keeps more digits than a double has, dividing rounds all but the first twice.
  for (const auto& [text, expected] : std::map<const char*, double>{
           {"\t\r1.5", 1.5}, {"5767.509321", 5767.509321}, {"57287.36187135", 57287.36187135}}) {
    double number = 0;
    EXPECT_TRUE((tryConvert<double, true>(text, number)));
    EXPECT_EQ(number, expected);
  }
  double number;
  EXPECT_EQ(tryExtractFloating("1,5", 0, number), 1U);
  EXPECT_EQ(tryExtractSpecialFloating("8-iNFinit", 1, number), 5U);
  std::mt19937_64 random;
  for (int round = 0; round < rounds(5000, 500000); ++round) {
    const double power = std::pow(10, round % 635 - 325); // 0 and infinity too
    const double any = std::ldexp(random(), static_cast<int>(random() % 2100) - 1140);
    const double half = std::ldexp(random() >> 40, -(round % 16)); // between two texts
    for (const double size :
         {power, std::nextafter(power, 0), std::nextafter(power, INFINITY), any, half, double(NAN)})
      for (const double value : {size, -size})
        for (const int precision : {2, 0, static_cast<int>(random() % 800) - 400, INT_MIN, INT_MAX})
          ASSERT_EQ((convertToString<double, true>(value, precision)),
                    writeWithStream(value, precision))
              << value << ", " << precision;
  }
}

// Numbers as text must not notice the user's locale: other points, grouping, a dotless i.
TEST(NumberText, IsReadAndWrittenAsByStream) {
  for (const char* locale : {"C", "de_DE.UTF-8", "ru_RU.KOI8-R", "tr_TR.ISO-8859-9"}) {
    if (!setlocale(LC_ALL, locale))
      GTEST_SKIP() << locale << " is not installed";
    std::locale::global(std::locale(locale));
    readAndWriteAsStream();
  }
}

TEST(NumericHelper, RoundsToTheGridHalvesAwayFromItsBase) {
  const double rows[][4] = {{5.4, 3, 1, 4}, {2.5, 1, 1, 3},      {-0.5, 1, 1, -1}, {0.5, 1, -2, 1},
                            {0.5, 1, 2, 0}, {0.45, 0.1, 0, 0.5}, {7.3, 0, 1, 7.3}};
  for (const auto& [value, step, base, expected] : rows)
    EXPECT_EQ(NumericHelper::stepRounding(value, step, base), expected) << value << " on " << base;
}

TEST(ApproximateLogic, ComparesAndLimitsWithinEitherBound) {
  using Logic = ApproximateLogic;
  EXPECT_TRUE(Logic::equals(2, 1, {0.5, 0}));
  EXPECT_TRUE(Logic::equals(2, 1, {0, 1}));
  EXPECT_FALSE(Logic::equals(1e6, 1e6 + 2, {1e-6, 1}));
  EXPECT_FALSE(Logic::equals(NAN, NAN, {1, 1}));
  EXPECT_TRUE(Logic::equals(-INFINITY, -INFINITY, {-1, -1}));
  EXPECT_FALSE(Logic::equals(INFINITY, 1e308, {INFINITY, INFINITY}));
  EXPECT_TRUE(Logic::contains(10.0000001, {0, 10, 0}, {0, 1e-6}));
  EXPECT_TRUE(Logic::contains(NAN, {0, 10, 0}, {}));
  EXPECT_TRUE(Logic::contains(5, {0, 10, 0}, {}));
  EXPECT_FALSE(Logic::contains(11, {0, 10, 0}, {}));
  EXPECT_FALSE(Logic::contains(-1, {0, 10, 0}, {}));
  EXPECT_TRUE(NumericRange::Full().isFull());
  EXPECT_EQ(NumericRange::Full().getStep(), 0);
  EXPECT_FALSE(NumericRange(0, 1, 2).isFull());
  EXPECT_EQ(NumericRange::And({2, 3, 0}, {0, 1, NAN}), NumericRange(2, 1, 0));
  EXPECT_EQ(NumericRange::And({1, 4, 2}, {2, 3, 4}), NumericRange(2, 3, 4));
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

#include "qiv/numeric.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <locale>
#include <random>
#include <sstream>

using namespace Qiv;
using namespace std::string_literals;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan_ = std::numeric_limits<double>::quiet_NaN();

/// Tells -0 from 0 and NaN from -NaN.
bool same(double a, double b) {
  return (a == b || (std::isnan(a) && std::isnan(b))) && std::signbit(a) == std::signbit(b);
}

/// The library's rules told with streams: slow, but right by definition.
template <typename T>
std::size_t readWithStream(const std::string& text, std::size_t pos, T& out) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T value;
  if (!(in.seekg(static_cast<std::streamoff>(pos)) >> value))
    return pos;
  out = value;
  return in.eof() ? text.size() : static_cast<std::size_t>(in.tellg());
}

std::string writeWithStream(double value, int precision) {
  const double digits = 15.0 - precision;
  if (std::abs(value) < std::pow(10, -digits))
    return "0";
  const double e = std::ceil(std::log10(value));
  const double significant = e < 0 ? std::min(digits, 15.0) : std::min(digits, 15 - e) + e;
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.precision(std::isfinite(significant) ? static_cast<int>(significant) : INT_MIN);
  out << value;
  return out.str();
}

/// Numbers as text must not notice the user's locale: other points, grouping, a dotless i.
class NumberText : public testing::TestWithParam<const char*> {
protected:
  void SetUp() override try {
    std::locale::global(std::locale(GetParam()));
  } catch (const std::runtime_error&) {
    GTEST_SKIP() << "this machine has no such locale";
  }
  void TearDown() override { std::locale::global(std::locale::classic()); }

  void expectReadAsByStream(const std::string& text, std::size_t pos = 0) {
    double expected = 42, number = 42, whole = 42;
    std::size_t end = readWithStream(text, pos, expected);
    if (end == pos)
      end = tryExtractSpecialFloating(text, pos, expected);
    ASSERT_EQ(tryExtractFloating(text, pos, number), end) << testing::PrintToString(text);
    ASSERT_PRED2(same, number, expected) << testing::PrintToString(text) << " at " << pos;
    if (pos > 0 || text.empty())
      return;
    const bool isNumber = end == text.size();
    ASSERT_EQ((tryConvert<double, true>(text, whole)), isNumber) << testing::PrintToString(text);
    ASSERT_PRED2(same, whole, isNumber ? expected : 42) << testing::PrintToString(text);

    int expectedInteger = 42, integer = 42;
    const bool isInteger = readWithStream(text, 0, expectedInteger) == text.size();
    ASSERT_EQ((tryConvert<int, true>(text, integer)), isInteger) << testing::PrintToString(text);
    ASSERT_EQ(integer, isInteger ? expectedInteger : 42) << testing::PrintToString(text);
  }

  void expectWrittenAsByStream(double value) {
    for (const int precision : {2, 0, static_cast<int>(random() % 800) - 400, INT_MIN, INT_MAX})
      ASSERT_EQ((convertToString<double, true>(value, precision)),
                writeWithStream(value, precision))
          << std::hexfloat << value << " with precision " << precision;
  }

  void expectAllReadAsByStream(const std::string& alphabet, std::size_t length,
                               const std::string& text = {}) {
    for (std::size_t pos = 0; pos < text.size() + 2 && !HasFatalFailure(); ++pos)
      expectReadAsByStream(text, pos);
    for (std::size_t i = 0; length > 0 && i < alphabet.size(); ++i)
      expectAllReadAsByStream(alphabet, length - 1, text + alphabet[i]);
  }

  std::mt19937_64 random{1};
};

INSTANTIATE_TEST_SUITE_P(Locale, NumberText,
                         testing::Values("C", "de_DE.UTF-8", "ru_RU.KOI8-R", "tr_TR.ISO-8859-9"),
                         [](const auto& info) { return std::string(info.param).substr(0, 2); });

} // namespace

TEST_P(NumberText, ShortTextsAreReadAsByStream) {
  expectAllReadAsByStream("019.eE+- xinfaN\t", 4);
  expectAllReadAsByStream("1.e+-", 6);
}

TEST_P(NumberText, MutatedTextsAreReadAsByStream) {
  const std::string characters = "0123456789.eE+-infatyINF xp()\0\n\v\f\r,;"s;
  const std::string zeros(400, '0');
  for (const std::string& seed :
       {"1.7976931348623157e308"s, "2.4703282292062327e-324"s, "-123456.789e-5"s, "-2147483648"s,
        "2147483647"s, "-Infinity"s, "nan(1)"s, "-0." + zeros + "1e+410", "1" + zeros + "e-390",
        "1e-" + zeros + "9", "0e+9" + zeros, "-.1e-9223372036854775808"s, zeros + "12",
        "1" + zeros + "e9223372036854775807"})
    for (int round = 0; round < 3000 && !HasFatalFailure(); ++round) {
      std::string text = seed;
      for (int edits = round % 4; edits > 0; --edits)
        text.replace(random() % (text.size() + 1), random() % 2, random() % 3,
                     characters[random() % characters.size()]);
      expectReadAsByStream(text, random() % 3);
    }
}

TEST_P(NumberText, DoublesOfEveryMagnitudeAreConvertedAsByStream) {
  for (const double value : {0.0, inf, nan_, std::numeric_limits<double>::denorm_min()})
    for (const double number : {value, -value})
      expectWrittenAsByStream(number);
  for (int power = -323; power <= 308 && !HasFatalFailure(); ++power)
    for (const double value : {std::pow(10, power), -5 * std::pow(10, power)})
      for (const double number :
           {std::nextafter(value, 0), value, std::nextafter(value, 2 * value)})
        expectWrittenAsByStream(number);
  for (int round = 0; round < 10000 && !HasFatalFailure(); ++round) {
    const double any =
        std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 2100) - 1140);
    expectWrittenAsByStream(round % 2 ? any : -any);
    // Halfway between two texts the even digit wins.
    expectWrittenAsByStream(-std::ldexp(random() >> 40, -(round % 16)));
    expectReadAsByStream(std::to_string(random()) + std::to_string(random()) + "e" +
                         std::to_string(static_cast<int>(random() % 660) - 370));
  }
}

TEST(NumberTextExamples, SpecialNames) {
  const struct {
    const char* text;
    std::size_t pos, end;
    double value;
  } rows[] = {
      {"xinfinityx", 1, 9, inf}, {"-Inf", 0, 4, -inf}, {"INFINITE", 0, 3, inf}, {"nan", 0, 3, nan_},
      {"-NaN", 0, 4, -nan_},     {"in", 0, 0, 42},     {"+inf", 0, 0, 42},      {" inf", 0, 0, 42},
      {"--inf", 0, 0, 42},       {"", 0, 0, 42},       {"-", 0, 0, 42},         {"inf", 3, 3, 42},
      {"inf", 9, 9, 42}};
  for (const auto& row : rows) {
    double value = 42;
    EXPECT_EQ(tryExtractSpecialFloating(row.text, row.pos, value), row.end) << row.text;
    EXPECT_PRED2(same, value, row.value) << row.text;
  }
  double value;
  int integer;
  EXPECT_FALSE((tryConvert<double, true>("", value)) || (tryConvert<int, true>("", integer)));
}

TEST(NumericHelper, JudgesWhatIsBeingTyped) {
  for (const char* text : {"", ".", "-", "1.", "-0.5", "inf", " 1"})
    EXPECT_TRUE(NumericHelper::isNumericInput(text)) << text;
  for (const char* text : {"-.", "+", "1e", "1-", "abc", " ", "1 "})
    EXPECT_FALSE(NumericHelper::isNumericInput(text)) << text;
}

TEST(NumericRange, TextHoldsThreeNumbers) {
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
  EXPECT_EQ(out.str(), "range 1;2;0.5");
  EXPECT_EQ(NumericRangeTypeConverter::toStringData(NumericRange::Full()), "-inf;inf;0");
  EXPECT_EQ(NumericRangeTypeConverter::toStringData({-1, 1e-13, 9e-14}), "-1;1e-13;0");
  EXPECT_TRUE(NumericRangeTypeConverter::fromStringData("-inf;Infinity;0", range) &&
              range.isFull());
}

TEST(NumericRange, IntersectionIsTakenFieldByField) {
  EXPECT_EQ(NumericRange::And({0, 10, 0.5}, {5, 20, 0.1}), NumericRange(5, 10, 0.5));
  EXPECT_EQ(NumericRange::And({0, 1, 0}, {2, 3, 0}), NumericRange(2, 1, 0));
  EXPECT_EQ(NumericRange::And({1, 2, 3}, {nan_, nan_, nan_}), NumericRange(1, 2, 3));
}

TEST(ApproximateLogic, EqualsWithinEitherBound) {
  EXPECT_TRUE(ApproximateLogic::equals(1, 1 + 1e-12, {0, 1e-9}));
  EXPECT_TRUE(ApproximateLogic::equals(-1, -2, {0.5, 0}));
  EXPECT_TRUE(ApproximateLogic::equals(2, 1, {0.5, 0}));
  EXPECT_FALSE(ApproximateLogic::equals(1e6, 1e6 + 2, {1e-6, 1}));
  EXPECT_TRUE(ApproximateLogic::equals(-inf, -inf, {-1, -1}));
  EXPECT_FALSE(ApproximateLogic::equals(inf, 1e308, {inf, inf}));
  EXPECT_FALSE(ApproximateLogic::equals(nan_, nan_, {1, 1}));
  EXPECT_TRUE(ApproximateLogic::contains(10.0000001, {0, 10, 0}, {0, 1e-6}));
  EXPECT_FALSE(ApproximateLogic::contains(-0.1, {0, 10, 0}, {0, 1e-6}));
  EXPECT_TRUE(ApproximateLogic::contains(nan_, {0, 10, 0}, {}));
}

TEST(ApproximateLogic, LimitsValues) {
  constexpr ApproximateTolerance tolerance{0, 0.1};
  const struct {
    const char* name;
    double limited, value;
    NumericRange range;
    bool stepFromMin = false;
  } rows[] = {
      {"unbounded", nan_, nan_, NumericRange::Full()},
      {"unbounded grid", 3, 2.6, {-inf, inf, 1}},
      {"no step", 10, 12, {2, 10, 0}},
      {"reversed", nan_, 5, {2, 1, 0}},
      {"last grid point", 9, 11, {0, 10, 3}},
      {"grid from min", 4, 5.4, {1, 10, 3}, true},
      {"half goes away from zero", -3, -2.5, {-9, 9, 1}},
      {"on the grid", 2, 2.01, {0, 10, 1}},
      {"max near the grid", 9.95, 9.6, {0, 9.95, 1}},
      {"min near the grid", 1.05, 1.4, {1.05, 9, 1}},
      {"one step back from max", 9, 9.6, {0, 9.7, 1}},
      {"one step back to min", 0.95, 1.6, {0.95, 1.7, 1}},
      {"no grid point below max", nan_, 0.6, {0.5, 0.7, 1}},
      {"one step back from min", 2, 1.3, {1.2, 9, 1}},
      {"one step back to max", 2.05, 1.3, {1.2, 2.05, 1}},
      {"no grid point above min", nan_, 0.4, {0.3, 0.45, 1}},
  };
  for (const auto& row : rows)
    EXPECT_PRED2(
        same, row.limited,
        ApproximateLogic::limitValue(row.value, row.range, tolerance, row.stepFromMin, true))
        << row.name;
  EXPECT_EQ(ApproximateLogic::limitValue(2.01, {0, 10, 1}, tolerance, false, false), 2.01);
}

TEST(NullableBool, IsReadAndWritten) {
  const std::pair<const char*, const char*> rows[] = {
      {"", ""},       {"true", "true"},   {"1", "true"},     {"True", "true"},  {"false", "false"},
      {"0", "false"}, {"False", "false"}, {"TRUE", "false"}, {" true", "false"}};
  for (const auto& [text, written] : rows) {
    NullableBool value = false;
    std::istringstream in(text);
    value << in;
    std::ostringstream out;
    value >> out;
    EXPECT_EQ(out.str(), written) << text;
    EXPECT_EQ(in.bad(), text == "TRUE"s || text == " true"s) << text;
  }
}

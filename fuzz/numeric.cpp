#include "fuzz.h"

#include "qiv/numeric.h"
#include "qiv/text.h"

#include <cmath>
#include <map>
#include <sstream>

using namespace Qiv;

template <typename T>
static bool streamReads(const std::string& text, T& out) {
  static std::istringstream in; // making one takes longer than reading
  in.imbue(std::locale::classic());
  in.clear();
  in.str(text);
  return in >> out && in.eof();
}

/// What a stream reads, or a special name, which the C library knows as well.
static bool isNumber(const std::string& text, double& out) {
  if (text.find_first_not_of("-infatyINFATY") != std::string::npos)
    return streamReads(text, out);
  char* end;
  out = std::strtod(text.c_str(), &end);
  return end != text.c_str() && *end == '\0';
}

/// Reads on from a position, as a stream does; where that fails, a special name.
static void tryExtract(const std::string& text) {
  static std::istringstream in;
  in.imbue(std::locale::classic());
  in.clear();
  in.str("8-" + text);
  in.seekg(2);
  double expected, number = 42;
  const std::size_t end = tryExtractFloating(in.str(), 2, number);
  if (in >> expected)
    AGREE(number == expected && end == (in.eof() ? text.size() + 2 : std::size_t(in.tellg())));
  else
    AGREE(end == tryExtractSpecialFloating(in.str(), 2, number) && (end > 2 || number == 42));
}

static bool tryNumber(const std::string& text) {
  tryExtract(text);
  double expected, number;
  const bool valid = isNumber(text, expected);
  AGREE(valid == (tryConvert<double, true>(text, number)));
  AGREE(!valid || number == expected || (std::isnan(number) && std::isnan(expected)));
  const bool incomplete = text.empty() || text == "." || text == "-";
  AGREE(NumericHelper::isNumericInput(text) == (valid || incomplete));
  int expectedInteger, integer;
  const bool isInteger = streamReads(text, expectedInteger);
  AGREE(isInteger == (tryConvert<int, true>(text, integer)));
  AGREE(!isInteger || integer == expectedInteger);
  return valid;
}

static void tryNullable(const std::string& text) {
  static const std::map<std::string, std::string> known = {
      {"", ""},           {"true", "true"},   {"True", "true"}, {"1", "true"},
      {"false", "false"}, {"False", "false"}, {"0", "false"}};
  const auto expected = known.find(text);
  NullableBool value = true;
  std::istringstream in(text);
  std::ostringstream out;
  value << in;
  value >> out;
  AGREE(in.bad() == (expected == known.end()));
  AGREE(out.str() == (in.bad() ? "true" : expected->second));
}

void tryText(const std::string& text) {
  if (text.size() < 6)
    tryNullable(text);
  bool valid = true;
  const auto fields = StringHelper::split(text, ';');
  for (const std::string& field : fields)
    valid = tryNumber(field) && valid;
  for (const char* start :
       {"1.797693134862315", "214748364", "-214748364", "1e-30", "90071992547409"})
    tryNumber(start + text);
  NumericRange range(1, 2, 3);
  std::istringstream in(text);
  range << in;
  AGREE(in.bad() == !(valid && fields.size() == 3));
  AGREE(!in.bad() || range == NumericRange(1, 2, 3));
  std::ostringstream out;
  range >> out;
  const auto textOf = convertToString<double, true>;
  const std::string written = out.str();
  AGREE(written == textOf(range.getMin(), 2) + ";" + textOf(range.getMax(), 2) + ";" +
                       textOf(range.getStep(), 2));
  AGREE(!NumericRangeTypeConverter::fromStringData(written, range) || // too large when rounded
        NumericRangeTypeConverter::toStringData(range) == written);
}

#include "qiv/numeric.h"

#include "numeric/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace Qiv {

namespace {

constexpr int doubleDigits = 15;

/// A negative number or NaN has no logarithm and gets a stream's default. Zero comes here only when
/// 10^-digits is zero too; its exponent, minus infinity, counts as 0.
int significantDigits(double value, double digits) {
  constexpr int streamDefault = 6;
  if (!(value >= 0))
    return streamDefault;
  const double exponent = std::max(std::ceil(std::log10(value)), 0.0);
  return static_cast<int>(std::min<double>(digits + exponent, doubleDigits));
}

} // namespace

char* internal::writeNumber(char* first, double value, int precision) {
  const double digits = static_cast<double>(doubleDigits) - precision;
  if (std::abs(value) < std::pow(10.0, -digits)) {
    *first = '0';
    return first + 1;
  }
  return std::to_chars(first, first + maxNumberLength, value, std::chars_format::general,
                       significantDigits(value, digits))
      .ptr;
}

template <>
std::string convertToString<double, true>(const double& value, int precision) {
  char buffer[internal::maxNumberLength];
  return {buffer, internal::writeNumber(buffer, value, precision)};
}

} // namespace Qiv

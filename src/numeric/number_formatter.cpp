#include "qiv/numeric.h"

#include "numeric/number_text.h"
#include "numeric/rounding.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace Qiv {

using internal::powersOfTen;

namespace {

constexpr int doubleDigits = 15;

/// The smallest n for which 10^n is not below the value, which lies between 10^-4 and 10^15.
int exponentOf(double value) {
  int exponent = 0;
  if (value > 1)
    while (value > powersOfTen[exponent])
      ++exponent;
  else
    while (value <= 1 / powersOfTen[1 - exponent])
      --exponent;
  return exponent;
}

/// A negative number or NaN has no logarithm and gets a stream's default. Zero comes here only when
/// 10^-digits is zero too; its exponent, minus infinity, counts as 0.
int significantDigits(double value, double digits, double exponent) {
  constexpr int streamDefault = 6;
  if (!(value >= 0))
    return streamDefault;
  return static_cast<int>(std::min<double>(digits + std::max(exponent, 0.0), doubleDigits));
}

/// The integer nearest to value * power, halves to even. Where the product was rounded to just a
/// half, the error of that rounding decides, which fma tells exactly.
std::uint64_t scaled(double value, double power) {
  const double product = value * power;
  const auto floor = static_cast<std::uint64_t>(product);
  double overHalf = product - static_cast<double>(floor) - 0.5;
  if (overHalf == 0)
    overHalf = std::fma(value, power, -product);
  return floor + (overHalf > 0 || (overHalf == 0 && floor % 2 == 1));
}

/// Writes a positive number below 10^15, rounded to so many digits after the point, of which
/// zeros at the end are dropped.
char* writeFixed(char* first, char* last, double value, int decimals) {
  auto whole = static_cast<std::uint64_t>(value);
  auto one = static_cast<std::uint64_t>(powersOfTen[decimals]);
  std::uint64_t fraction = scaled(value - static_cast<double>(whole), powersOfTen[decimals]);
  if (fraction == one) {
    ++whole;
    fraction = 0;
  }
  char* const point = std::to_chars(first, last, whole).ptr;
  if (fraction == 0)
    return point;
  for (const unsigned zeros : {100000000U, 10000U, 100U, 10U})
    if (fraction % zeros == 0) {
      fraction /= zeros;
      one /= zeros;
    }
  // The one in front keeps the zeros after it, then the point takes its place.
  char* const end = std::to_chars(point, last, one + fraction).ptr;
  *point = '.';
  return end;
}

} // namespace

char* internal::writeNumber(char* first, double value, int precision) {
  char* const last = first + maxNumberLength;
  const double digits = static_cast<double>(doubleDigits) - precision;
  const double magnitude = std::abs(value);
  // Neither near the bound of what is "0" nor with an exponent: most numbers, so they go by a way
  // of their own that needs no pow, log10 or arbitrary precision.
  if (roundsOnce && digits >= 4 && magnitude >= 1e-4 && magnitude < 1e15) {
    const int exponent = exponentOf(magnitude);
    const int decimals = significantDigits(value, digits, exponent) - exponent;
    if (decimals > 0) {
      if (value < 0)
        *first++ = '-';
      return writeFixed(first, last, magnitude, decimals);
    }
  }
  if (magnitude < rounded(std::pow(10.0, -digits))) {
    *first = '0';
    return first + 1;
  }
  const int significant =
      significantDigits(value, digits, std::ceil(rounded(std::log10(magnitude))));
  return std::to_chars(first, last, value, std::chars_format::general, significant).ptr;
}

template <>
std::string convertToString<double, true>(const double& value, int precision) {
  char buffer[internal::maxNumberLength];
  return {buffer, internal::writeNumber(buffer, value, precision)};
}

} // namespace Qiv

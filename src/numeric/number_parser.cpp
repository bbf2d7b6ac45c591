#include "qiv/numeric.h"

#include "numeric/number_text.h"
#include "numeric/rounding.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>

namespace Qiv {

namespace {

constexpr std::size_t npos = std::string_view::npos;

struct SpecialNumber {
  std::string_view name;
  double value;
};

/// Of names that begin alike the longer stands first.
constexpr SpecialNumber specialNumbers[] = {
    {"nan", std::numeric_limits<double>::quiet_NaN()},
    {"infinity", std::numeric_limits<double>::infinity()},
    {"inf", std::numeric_limits<double>::infinity()},
};

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isExponentMark(char c) {
  return c == 'e' || c == 'E';
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The character at `pos`, NUL behind the end.
char at(std::string_view text, std::size_t pos) {
  return pos < text.size() ? text[pos] : '\0';
}

/// What follows the blanks and the "+", neither of which from_chars reads, at `pos`; nothing when a
/// second sign follows.
inline std::string_view skipPrefix(std::string_view text, std::size_t pos) {
  while (isBlank(at(text, pos)))
    ++pos;
  if (at(text, pos) == '+')
    pos = at(text, pos + 1) == '-' ? text.size() : pos + 1;
  return text.substr(std::min(pos, text.size()));
}

/// Tells of a number beyond the range of double whether it is too small, not too large. Its power
/// of ten decides, whose own digits may be beyond the range of any integer.
bool isUnderflow(std::string_view number) {
  const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
  const std::size_t point = std::min(number.find('.'), mark);
  const std::size_t lead = number.find_first_of("123456789");
  long long exponent = 0;
  const std::string_view digits = skipPrefix(number, std::min(mark + 1, number.size()));
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
  if (error == std::errc::result_out_of_range)
    return digits.front() == '-';
  return exponent < static_cast<long long>(lead) - static_cast<long long>(point);
}

/// Where the number at `pos` ends, npos when a stream would not read one.
std::size_t readFloating(std::string_view text, std::size_t pos, double& out) {
  const std::string_view rest = skipPrefix(text, pos);
  const bool negative = at(rest, 0) == '-';
  if (const char c = at(rest, negative); c != '.' && !isDigit(c)) // from_chars reads "nan(1)" too
    return npos;
  double value = negative ? -0.0 : 0.0; // stays so on underflow
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
  if (error == std::errc::invalid_argument)
    return npos;

  const std::string_view number = rest.substr(0, static_cast<std::size_t>(end - rest.data()));
  if (isExponentMark(at(rest, number.size())) && number.find_first_of("eE") == npos)
    return npos; // a stream has taken the mark and misses the exponent's digits
  if (error == std::errc::result_out_of_range && !isUnderflow(number))
    return npos;
  out = value;
  return static_cast<std::size_t>(end - text.data());
}

/// Folds ASCII letters itself: the C library's tolower has its own idea of a Turkish I.
bool startsWithName(std::string_view text, std::string_view name) {
  return text.size() >= name.size() &&
         std::equal(name.begin(), name.end(), text.begin(),
                    [](char letter, char c) { return letter == (c | 0x20); });
}

std::size_t readSpecial(std::string_view text, std::size_t pos, double& out) {
  const bool negative = at(text, pos) == '-';
  const std::string_view rest = text.substr(std::min(pos + negative, text.size()));
  for (const auto& [name, value] : specialNumbers)
    if (startsWithName(rest, name)) {
      out = negative ? -value : value;
      return pos + negative + name.size();
    }
  return pos;
}

std::size_t readAny(std::string_view text, std::size_t pos, double& out) {
  const std::size_t end = readFloating(text, pos, out);
  return end != npos ? end : readSpecial(text, pos, out);
}

/// Reads a text such as "-12.5". Its digits and the power of ten to divide them by must be exact,
/// then the quotient is the nearest double. False for any other text.
bool readShort(std::string_view text, double& out) {
  constexpr std::size_t maxSize = 17; // what overflows no integer
  constexpr std::uint64_t maxExact = std::uint64_t{1} << std::numeric_limits<double>::digits;
  if (text.size() > maxSize)
    return false;
  const bool negative = at(text, 0) == '-';
  std::uint64_t number = 0;
  std::size_t digits = 0;
  std::size_t digitsBeforePoint = npos;
  for (const char c : text.substr(negative))
    if (isDigit(c)) {
      number = number * 10 + static_cast<std::uint64_t>(c - '0');
      ++digits;
    } else if (c == '.' && digitsBeforePoint == npos) {
      digitsBeforePoint = digits;
    } else {
      return false;
    }
  if (digits == 0 || number > maxExact)
    return false;
  const std::size_t decimals = digits - std::min(digitsBeforePoint, digits);
  const double value = static_cast<double>(number) / internal::powersOfTen[decimals];
  out = negative ? -value : value;
  return true;
}

} // namespace

bool internal::tryConvert(std::string_view text, double& out) {
  if (roundsOnce && readShort(text, out))
    return true;
  double value = 0;
  if (text.empty() || readAny(text, 0, value) != text.size())
    return false;
  out = value;
  return true;
}

std::size_t internal::readInt(std::string_view text, int& out) {
  const std::string_view number = skipPrefix(text, 0);
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), out);
  return error == std::errc() ? static_cast<std::size_t>(end - text.data()) : npos;
}

template <>
bool tryConvert<double, true>(const std::string& text, double& out) {
  return internal::tryConvert(text, out);
}

template <>
bool tryConvert<int, true>(const std::string& text, int& out) {
  int value = 0;
  if (internal::readInt(text, value) != text.size())
    return false;
  out = value;
  return true;
}

template <>
std::size_t tryExtractFloating<double>(const std::string& text, std::size_t pos, double& out) {
  return readAny(text, pos, out);
}

template <>
std::size_t tryExtractSpecialFloating<double>(const std::string& text, std::size_t pos,
                                              double& out) {
  return readSpecial(text, pos, out);
}

} // namespace Qiv

#include "qiv/numeric.h"

#include "numeric/number_text.h"

#include <algorithm>
#include <charconv>
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

bool isAt(std::string_view text, std::size_t pos, std::string_view characters) {
  return pos < text.size() && characters.find(text[pos]) != npos;
}

/// What follows the blanks and the "+", neither of which from_chars reads, at `pos`; nothing when a
/// second sign follows.
std::string_view skipPrefix(std::string_view text, std::size_t pos) {
  pos = std::min(text.find_first_not_of(" \t\n\v\f\r", pos), text.size());
  if (isAt(text, pos, "+"))
    pos = isAt(text, pos + 1, "-") ? text.size() : pos + 1;
  return text.substr(pos);
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
  const bool negative = isAt(rest, 0, "-");
  if (!isAt(rest, negative, ".0123456789")) // from_chars reads "nan(1)" too
    return npos;
  double value = negative ? -0.0 : 0.0; // stays so on underflow
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
  if (error == std::errc::invalid_argument)
    return npos;

  const std::string_view number = rest.substr(0, static_cast<std::size_t>(end - rest.data()));
  if (isAt(rest, number.size(), "eE") && number.find_first_of("eE") == npos)
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
  const bool negative = isAt(text, pos, "-");
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

} // namespace

bool internal::tryConvert(std::string_view text, double& out) {
  double value = 0;
  if (text.empty() || readAny(text, 0, value) != text.size())
    return false;
  out = value;
  return true;
}

bool internal::tryConvert(std::string_view text, int& out) {
  const std::string_view number = skipPrefix(text, 0);
  const char* const last = number.data() + number.size();
  int value = 0;
  const auto [end, error] = std::from_chars(number.data(), last, value);
  if (error != std::errc() || end != last)
    return false;
  out = value;
  return true;
}

template <>
bool tryConvert<double, true>(const std::string& text, double& out) {
  return internal::tryConvert(text, out);
}

template <>
bool tryConvert<int, true>(const std::string& text, int& out) {
  return internal::tryConvert(text, out);
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

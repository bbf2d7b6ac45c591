#include "qiv/numeric.h"

#include "numeric/number_text.h"

#include <limits>
#include <sstream>

namespace Qiv {

NumericRange NumericRange::Full() {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  return {-infinity, infinity, 0};
}

NumericRange NumericRange::And(const NumericRange& a, const NumericRange& b) {
  return {b.min > a.min ? b.min : a.min, b.max < a.max ? b.max : a.max,
          b.step > a.step ? b.step : a.step};
}

void NumericRange::operator>>(std::ostringstream& out) const {
  out << NumericRangeTypeConverter::toStringData(*this);
}

void NumericRange::operator<<(std::istringstream& in) {
  if (!NumericRangeTypeConverter::fromStringData(in.str(), *this))
    in.setstate(std::ios_base::badbit);
}

std::string NumericRangeTypeConverter::toStringData(const NumericRange& range) {
  constexpr int precision = 2;
  char buffer[3 * internal::maxNumberLength + 2];
  char* end = internal::writeNumber(buffer, range.getMin(), precision);
  *end++ = ';';
  end = internal::writeNumber(end, range.getMax(), precision);
  *end++ = ';';
  end = internal::writeNumber(end, range.getStep(), precision);
  return {buffer, end};
}

bool NumericRangeTypeConverter::fromStringData(const std::string& text, NumericRange& out) {
  const std::size_t first = text.find(';');
  const std::size_t second = text.find(';', first + 1);
  if (first == std::string::npos || second == std::string::npos)
    return false;
  const std::string_view fields = text;
  double min, max, step;
  if (!internal::tryConvert(fields.substr(0, first), min) ||
      !internal::tryConvert(fields.substr(first + 1, second - first - 1), max) ||
      !internal::tryConvert(fields.substr(second + 1), step))
    return false;
  out = NumericRange(min, max, step);
  return true;
}

} // namespace Qiv

#include "qiv/numeric.h"

#include "numeric/rounding.h"

#include <cmath>

namespace Qiv {

using internal::rounded;

bool NumericHelper::isNumericInput(const std::string& text) {
  double value;
  return isIncompleteNumericInput(text) || tryExtractFloating(text, 0, value) == text.size();
}

bool NumericHelper::isIncompleteNumericInput(const std::string& text) {
  return text.empty() || text == "." || text == "-";
}

double NumericHelper::stepRounding(double value, double step, double base) {
  if (step == 0)
    return value;
  const double steps = std::round(rounded(rounded(value - base) / step));
  return rounded(rounded(step * steps) + base);
}

} // namespace Qiv

#include "qiv/numeric.h"

#include <cmath>

namespace Qiv {

bool NumericHelper::isNumericInput(const std::string& text) {
  double value;
  return isIncompleteNumericInput(text) || tryExtractFloating(text, 0, value) == text.size();
}

bool NumericHelper::isIncompleteNumericInput(const std::string& text) {
  return text.empty() || text == "." || text == "-";
}

double NumericHelper::stepRounding(double value, double step, double base) {
  return step == 0 ? value : step * std::round((value - base) / step) + base;
}

} // namespace Qiv

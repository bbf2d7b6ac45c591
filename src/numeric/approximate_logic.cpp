#include "qiv/numeric.h"

#include "numeric/rounding.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Qiv {

bool ApproximateLogic::equals(double a, double b, const ApproximateTolerance& tol) {
  if (a == b)
    return true;
  if (!std::isfinite(a) || !std::isfinite(b))
    return false;
  const double difference = internal::rounded(std::abs(a - b));
  return tol.absolute >= difference ||
         internal::rounded(tol.relative * std::max(std::abs(a), std::abs(b))) >= difference;
}

bool ApproximateLogic::contains(double value, double min, double max,
                                const ApproximateTolerance& tol) {
  if (value > max)
    return equals(value, max, tol);
  return !(min > value) || equals(value, min, tol);
}

bool ApproximateLogic::contains(double value, NumericRange range, const ApproximateTolerance& tol) {
  return contains(value, range.getMin(), range.getMax(), tol);
}

double ApproximateLogic::limitValue(double value, double min, double max, double step,
                                    const ApproximateTolerance& tol, bool stepFromMin,
                                    bool preferStepValue) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  if (min == -infinity && step == 0 && max == infinity)
    return value;
  if (min > max)
    return nan;

  const double clamped = value > max ? max : min > value ? min : value;
  const double rounded = NumericHelper::stepRounding(clamped, step, stepFromMin ? min : 0.0);
  if (equals(rounded, clamped, tol))
    return preferStepValue ? rounded : clamped;
  if (equals(rounded, max, tol))
    return max;
  if (equals(rounded, min, tol))
    return min;
  if (rounded > max) {
    const double below = internal::rounded(rounded - step);
    return below < min ? nan : equals(below, min, tol) ? min : below;
  }
  if (min > rounded) {
    const double above = internal::rounded(rounded + step);
    return max < above ? nan : equals(above, max, tol) ? max : above;
  }
  return rounded;
}

double ApproximateLogic::limitValue(double value, NumericRange range,
                                    const ApproximateTolerance& tol, bool stepFromMin,
                                    bool preferStepValue) {
  return limitValue(value, range.getMin(), range.getMax(), range.getStep(), tol, stepFromMin,
                    preferStepValue);
}

} // namespace Qiv

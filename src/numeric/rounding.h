#ifndef QIV_NUMERIC_ROUNDING_H
#define QIV_NUMERIC_ROUNDING_H

#include <cfloat>

namespace Qiv::internal {

/// False where results carry more digits than a double until they are stored, as on x87. There a
/// quotient of two exact numbers is rounded twice, and not always to the nearest double.
constexpr bool roundsOnce = FLT_EVAL_METHOD == 0 || FLT_EVAL_METHOD == 1;

/// The result as a double, so that comparing and rounding go as on other processors.
inline double rounded(double result) {
  if constexpr (roundsOnce)
    return result;
  const volatile double stored = result;
  return stored;
}

} // namespace Qiv::internal

#endif

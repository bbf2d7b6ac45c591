#ifndef QIV_LOG_LOCAL_TIME_H
#define QIV_LOG_LOCAL_TIME_H

#include <ctime>
#include <stdexcept>

namespace Qiv::internal {

/// Calendar time in the time zone of the moment, which localtime_r alone would ask for only once.
inline std::tm localTime(std::time_t seconds) {
  std::tm local;
  tzset();
  if (!localtime_r(&seconds, &local))
    throw std::out_of_range("DateTimeHelper: The calendar cannot hold this time");
  return local;
}

} // namespace Qiv::internal

#endif

#ifndef QIV_LOG_LOCAL_TIME_H
#define QIV_LOG_LOCAL_TIME_H

#include <ctime>
#include <stdexcept>

namespace Qiv::internal {

/// Calendar time in the time zone that the process had when it first asked, or last called tzset.
inline std::tm localTime(std::time_t seconds) {
  std::tm local;
  if (!localtime_r(&seconds, &local))
    throw std::out_of_range("DateTimeHelper: The calendar cannot hold this time");
  return local;
}

} // namespace Qiv::internal

#endif
